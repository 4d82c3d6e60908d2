// Home-directory attributes, which are XML.

#include "fuzz/Input.h"
#include "portable/formats/UrlReader.h"
#include "portable/formats/XmlReader.h"

namespace {

using gatehall::XMLElement;
using gatehall::fuzz::require;

void walk(const XMLElement& element, int depth) {
  require(depth <= 32);
  require(!element.name.empty());
  require(!element.text || element.children.empty());
  if (element.text) gatehall::readURL(*element.text);
  for (const auto& child : element.children) walk(child, depth + 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto root = gatehall::readXML(gatehall::fuzz::text(data, size));
  if (root) walk(*root, 1);
  return 0;
}
