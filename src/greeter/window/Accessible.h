#pragma once

#include <gtkmm/accessible.h>
#include <gtkmm/widget.h>
#include <string_view>

namespace gatehall::greeter {

// What a screen reader is told of a control.

/// What it is called.
void setLabel(Gtk::Widget& widget, std::string_view text);

/// What else is to be known of it.
void setDescription(Gtk::Widget& widget, std::string_view text);

/// What it is; before it is shown.
void setRole(Gtk::Widget& widget, Gtk::Accessible::Role role);

}  // namespace gatehall::greeter
