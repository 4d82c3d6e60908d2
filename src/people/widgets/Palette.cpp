#include "people/widgets/Palette.h"

#include <map>

namespace gatehall {

Gdk::RGBA paletteColour(Gtk::Widget& widget, const std::string& name) {
  static const std::map<std::string, const char*> light{
      {"gh_card", "#ffffff"},     {"gh_separator", "#edf0f4"}, {"gh_name", "#1b2430"},
      {"gh_details", "#5d6876"},  {"gh_green", "#1f7547"},     {"gh_amber", "#8f5500"},
      {"gh_indigo", "#4a55b8"},   {"gh_red", "#b03030"},       {"gh_badge_front", "#2fa866"},
      {"gh_badge_in", "#e39a1f"}, {"gh_on_badge", "#ffffff"},
  };
  Gdk::RGBA colour;
  if (widget.get_style_context()->lookup_color(name, colour)) return colour;
  const auto known = light.find(name);
  return Gdk::RGBA(known != light.end() ? known->second : "#000000");
}

}  // namespace gatehall
