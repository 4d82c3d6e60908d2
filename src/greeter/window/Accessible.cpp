#include "greeter/window/Accessible.h"

#include <gtkmm.h>
#include <string>

namespace gatehall::greeter {

namespace {

void setProperty(Gtk::Widget& widget, Gtk::Accessible::Property property, std::string_view text) {
  Glib::Value<Glib::ustring> value;
  value.init(value.value_type());
  value.set(std::string(text));
  widget.update_property(property, value);
}

}  // namespace

void setLabel(Gtk::Widget& widget, std::string_view text) {
  setProperty(widget, Gtk::Accessible::Property::LABEL, text);
}

void setDescription(Gtk::Widget& widget, std::string_view text) {
  setProperty(widget, Gtk::Accessible::Property::DESCRIPTION, text);
}

void setRole(Gtk::Widget& widget, Gtk::Accessible::Role role) {
  widget.property_accessible_role() = role;
}

}  // namespace gatehall::greeter
