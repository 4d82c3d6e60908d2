#pragma once

#include <gtkmm.h>
#include <string>

namespace gatehall {

/// The colour that the style sheets call that (@define-color gh_name), or else that of the light
/// palette.
Gdk::RGBA paletteColour(Gtk::Widget& widget, const std::string& name);

}  // namespace gatehall
