#include "portable/formats/XmlReader.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <memory>
#include <string>

#include "portable/LazyLibrary.h"

namespace gatehall {

namespace {

/// A document's own default attributes and its elements' attributes cost time and memory that grow
/// with the square of its size.
constexpr std::size_t kLargestText = std::size_t{16} * 1024;
constexpr int kDeepestElement = 32;

struct Libxml {
  LazyLibrary library{"libxml2.so.2", "libxml2"};
  decltype(::xmlReadMemory)* readMemory = GATEHALL_FUNCTION(library, xmlReadMemory);
  decltype(::xmlDocGetRootElement)* rootElement = GATEHALL_FUNCTION(library, xmlDocGetRootElement);
  decltype(::xmlFreeDoc)* freeDocument = GATEHALL_FUNCTION(library, xmlFreeDoc);

  Libxml() { GATEHALL_FUNCTION(library, xmlInitParser)(); }
};

const Libxml& libxml() {
  static const Libxml functions;
  return functions;
}

std::string_view view(const xmlChar* text) {
  return text != nullptr ? reinterpret_cast<const char*>(text) : "";
}

/// The name as it is written.
std::string nameOf(const xmlNode& element) {
  std::string name(view(element.name));
  if (element.ns == nullptr || element.ns->prefix == nullptr) return name;
  return std::string(view(element.ns->prefix)) + ":" + name;
}

bool isText(const xmlNode& node) {
  return node.type == XML_TEXT_NODE || node.type == XML_CDATA_SECTION_NODE;
}

/// Notes that say nothing: they neither are text nor keep an element from being all text.
bool isIgnored(const xmlNode& node) {
  return node.type == XML_COMMENT_NODE || node.type == XML_PI_NODE;
}

/// Absent when the element, or one below it, is too deep.
std::optional<XMLElement> elementOf(const xmlNode& node, int depth) {
  if (depth > kDeepestElement) return std::nullopt;
  XMLElement element{nameOf(node), std::string(), {}};
  for (const auto* child = node.children; child != nullptr; child = child->next) {
    if (isIgnored(*child)) continue;
    if (isText(*child)) {
      if (element.text) *element.text += view(child->content);
      continue;
    }
    element.text.reset();
    if (child->type != XML_ELEMENT_NODE) continue;
    auto below = elementOf(*child, depth + 1);
    if (!below) return std::nullopt;
    element.children.push_back(std::move(*below));
  }
  return element;
}

}  // namespace

std::optional<XMLElement> readXML(std::string_view text) {
  if (text.empty() || text.size() > kLargestText) return std::nullopt;
  const auto& xml = libxml();
  constexpr int options = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
  const std::unique_ptr<xmlDoc, decltype(::xmlFreeDoc)*> document(
      xml.readMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, options),
      xml.freeDocument);
  const auto* root = document ? xml.rootElement(document.get()) : nullptr;
  return root != nullptr ? elementOf(*root, 1) : std::nullopt;
}

}  // namespace gatehall
