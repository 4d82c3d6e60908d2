#include "portable/text/IcuCollation.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <span>
#include <unicode/ucol.h>
#include <unicode/ustring.h>
#include <vector>

#include "gatehall/base/PlatformException.h"
#include "portable/LazyLibrary.h"
#include "portable/text/IcuSonames.h"

namespace gatehall {

namespace {

constexpr UChar32 kReplacement = 0xFFFD;

/// ICU counts in 32 bits and may triple a text; no name comes near.
constexpr std::size_t kLongestText = std::numeric_limits<std::int32_t>::max() / 4;

/// The name without its character set and modifier, which mean nothing or something else to ICU.
std::string icuName(std::string_view locale) {
  std::string name(locale.substr(0, locale.find_first_of(".@")));
  return name == "C" || name == "POSIX" ? std::string() : name;
}

std::int32_t length(std::string_view text) {
  return static_cast<std::int32_t>(std::min(text.size(), kLongestText));
}

int order(int left, int right) { return (left > right) - (left < right); }

void check(UErrorCode status, const char* (*errorName)(UErrorCode)) {
  if (U_FAILURE(status)) {
    throw PlatformException(std::string("Unable to compare texts: ") + errorName(status));
  }
}

}  // namespace

struct IcuCollation::Collator {
  // libicuuc comes along as the library that libicui18n itself needs.
  LazyLibrary library{kIcui18n, kIcuPackage};
  decltype(::u_errorName)* errorName = GATEHALL_FUNCTION(library, u_errorName);
  decltype(::ucol_close)* close = GATEHALL_FUNCTION(library, ucol_close);
  decltype(::ucol_strcollUTF8)* strcollUTF8 = GATEHALL_FUNCTION(library, ucol_strcollUTF8);
  decltype(::ucol_getSortKey)* getSortKey = GATEHALL_FUNCTION(library, ucol_getSortKey);
  decltype(::u_strFromUTF8WithSub)* strFromUTF8WithSub =
      GATEHALL_FUNCTION(library, u_strFromUTF8WithSub);
  UCollator* handle = nullptr;

  explicit Collator(const std::string& locale) {
    auto status = U_ZERO_ERROR;
    handle = GATEHALL_FUNCTION(library, ucol_open)(locale.c_str(), &status);
    check(status, errorName);
    auto* set = GATEHALL_FUNCTION(library, ucol_setAttribute);
    set(handle, UCOL_STRENGTH, UCOL_SECONDARY, &status);
    set(handle, UCOL_NUMERIC_COLLATION, UCOL_ON, &status);
    if (U_FAILURE(status)) close(handle);
    check(status, errorName);
  }
  ~Collator() { close(handle); }
  Collator(const Collator&) = delete;
  Collator& operator=(const Collator&) = delete;

  /// The text in UTF-16, in the room given when it is enough, else in the vector.
  std::span<const UChar> utf16(std::string_view text, std::span<UChar> room,
                               std::vector<UChar>& more) const {
    auto status = U_ZERO_ERROR;
    std::int32_t units = 0;
    // A text never has more UTF-16 units than UTF-8 bytes.
    if (text.size() > room.size()) {
      more.resize(text.size());
      room = more;
    }
    strFromUTF8WithSub(room.data(), static_cast<std::int32_t>(room.size()), &units, text.data(),
                       length(text), kReplacement, nullptr, &status);
    check(status, errorName);
    return room.first(static_cast<std::size_t>(units));
  }
};

IcuCollation::IcuCollation(std::string_view locale) : mLocale(icuName(locale)) {}

IcuCollation::~IcuCollation() = default;

const IcuCollation::Collator& IcuCollation::collator() {
  std::call_once(mOpened, [this] { mCollator = std::make_unique<Collator>(mLocale); });
  return *mCollator;
}

int IcuCollation::compare(std::string_view left, std::string_view right) {
  const auto& icu = collator();
  auto status = U_ZERO_ERROR;
  const auto result =
      icu.strcollUTF8(icu.handle, left.data(), length(left), right.data(), length(right), &status);
  check(status, icu.errorName);
  return order(result, UCOL_EQUAL);
}

std::string IcuCollation::sortKey(std::string_view text) {
  const auto& icu = collator();
  text = text.substr(0, kLongestText);
  std::array<UChar, 256> room;
  std::vector<UChar> more;
  const auto units = icu.utf16(text, room, more);

  std::array<std::uint8_t, 512> key;
  const auto count = static_cast<std::int32_t>(units.size());
  const auto needed = icu.getSortKey(icu.handle, units.data(), count, key.data(),
                                     static_cast<std::int32_t>(key.size()));
  // The key ends in a zero byte of ICU's own, which adds nothing to the order.
  if (needed <= static_cast<std::int32_t>(key.size())) return {key.data(), key.data() + needed - 1};
  std::vector<std::uint8_t> longKey(static_cast<std::size_t>(needed));
  icu.getSortKey(icu.handle, units.data(), count, longKey.data(), needed);
  return {longKey.begin(), longKey.end() - 1};
}

}  // namespace gatehall
