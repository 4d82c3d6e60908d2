#include "platform/portable/PortableMarkup.h"

#include "platform/portable/UrlReader.h"
#include "platform/portable/XmlReader.h"

namespace gatehall {

std::optional<XMLElement> PortableMarkup::parseXML(std::string_view text) { return readXML(text); }

std::optional<URL> PortableMarkup::parseURL(std::string_view text) { return readURL(text); }

}  // namespace gatehall
