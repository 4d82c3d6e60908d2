#include "portable/formats/UrlReader.h"

#include <string>
#include <strings.h>
#include <uriparser/Uri.h>

#include "portable/LazyLibrary.h"

namespace gatehall {

namespace {

/// uriparser recurses; no path is longer.
constexpr std::size_t kLongestURL = std::size_t{8} * 1024;

struct Uriparser {
  LazyLibrary library{"liburiparser.so.1", "liburiparser1"};
  decltype(::uriParseSingleUriExA)* parse = GATEHALL_FUNCTION(library, uriParseSingleUriExA);
  decltype(::uriFreeUriMembersA)* freeMembers = GATEHALL_FUNCTION(library, uriFreeUriMembersA);
};

const Uriparser& uriparser() {
  static const Uriparser functions;
  return functions;
}

/// A parsed URL, which refers to the text it was parsed from.
class ParsedURL {
 public:
  explicit ParsedURL(std::string_view text)
      : mIsValid(uriparser().parse(&mURL, text.data(), text.data() + text.size(), nullptr) ==
                 URI_SUCCESS) {}
  ~ParsedURL() {
    if (mIsValid) uriparser().freeMembers(&mURL);
  }
  ParsedURL(const ParsedURL&) = delete;
  ParsedURL& operator=(const ParsedURL&) = delete;

  /// Empty when the text is no URL, and for a relative one.
  std::string scheme() const {
    if (!mIsValid || mURL.scheme.first == nullptr) return {};
    return {mURL.scheme.first, mURL.scheme.afterLast};
  }

 private:
  UriUriA mURL{};
  bool mIsValid;
};

}  // namespace

std::optional<URL> readURL(std::string_view text) {
  if (text.empty() || text.size() > kLongestURL) return std::nullopt;
  const auto scheme = ParsedURL(text).scheme();
  if (scheme.empty()) return std::nullopt;
  return URL{scheme, std::string(text), strcasecmp(scheme.c_str(), "file") == 0};
}

}  // namespace gatehall
