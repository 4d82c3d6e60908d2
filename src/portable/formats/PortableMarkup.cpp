#include "portable/formats/PortableMarkup.h"

#include "portable/formats/UrlReader.h"
#include "portable/formats/XmlReader.h"

namespace gatehall {

std::optional<XMLElement> PortableMarkup::parseXML(std::string_view text) { return readXML(text); }

std::optional<URL> PortableMarkup::parseURL(std::string_view text) { return readURL(text); }

}  // namespace gatehall
