#include "portable/PortableMarkup.h"

#include "portable/UrlReader.h"
#include "portable/XmlReader.h"

namespace gatehall {

std::optional<XMLElement> PortableMarkup::parseXML(std::string_view text) { return readXML(text); }

std::optional<URL> PortableMarkup::parseURL(std::string_view text) { return readURL(text); }

}  // namespace gatehall
