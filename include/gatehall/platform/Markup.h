#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "gatehall/base/Export.h"

namespace gatehall {

/// An element of an XML document: its name as it is written, its text when it holds nothing but
/// text, its child elements in document order.
struct GATEHALL_EXPORT XMLElement {
  std::string name;
  std::optional<std::string> text;
  std::vector<XMLElement> children;
};

struct GATEHALL_EXPORT URL {
  std::string scheme;        ///< as written
  std::string absoluteText;  ///< the whole URL
  bool isFile = false;       ///< the scheme is "file", in any case
};

/// Readers of markup that comes from outside. From any thread, in bounded time and memory. What is
/// wrong with the markup raises nothing; PlatformException says that the host has no reader.
class GATEHALL_EXPORT Markup {
 public:
  virtual ~Markup() = default;

  /// The document's root element; absent when the text is not well-formed, or deeper or larger than
  /// the host's limits. External definitions are not read, and an entity of the document's own is
  /// no text.
  virtual std::optional<XMLElement> parseXML(std::string_view text) = 0;

  /// Absent when the text is no URL with a scheme (RFC 3986), or longer than the host's limit.
  virtual std::optional<URL> parseURL(std::string_view text) = 0;
};

}  // namespace gatehall
