#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace gatehall {

/// An element of an XML document: its name, its text when it holds nothing but text, its child
/// elements in document order.
struct XMLElement {
  std::string name;
  std::optional<std::string> text;
  std::vector<XMLElement> children;
};

struct URL {
  std::string scheme;         ///< as written
  std::string absoluteText;   ///< the whole URL
  std::string pathExtension;  ///< what follows the last full stop of the path's last part
  bool isFile = false;        ///< a file of this machine; the scheme is "file" in any case
};

/// Readers of markup that comes from outside. From any thread, in bounded time and memory; raise
/// nothing.
class Markup {
 public:
  virtual ~Markup() = default;

  /// The document's root element; absent when the text is not well-formed, or deeper or larger than
  /// the host's limits. Entities and external definitions are not followed.
  virtual std::optional<XMLElement> parseXML(std::string_view text) = 0;

  /// Absent when the text is no URL (RFC 3986).
  virtual std::optional<URL> parseURL(std::string_view text) = 0;
};

}  // namespace gatehall
