#pragma once

#include "gatehall/platform/Markup.h"

namespace gatehall {

/// Markup read with libxml2 and uriparser, each mapped on first use.
class PortableMarkup final : public Markup {
 public:
  std::optional<XMLElement> parseXML(std::string_view text) override;
  std::optional<URL> parseURL(std::string_view text) override;
};

}  // namespace gatehall
