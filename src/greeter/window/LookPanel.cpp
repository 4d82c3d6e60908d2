#include "greeter/window/LookPanel.h"

#include <gtkmm.h>

namespace gatehall::greeter {

namespace {

Gtk::CheckButton& check(std::string_view text, bool isOn, std::function<void(bool)> turned) {
  auto& button = *Gtk::make_managed<Gtk::CheckButton>(Glib::ustring(std::string(text)));
  button.set_active(isOn);
  button.signal_toggled().connect(
      [&button, turned = std::move(turned)] { turned(button.get_active()); });
  return button;
}

}  // namespace

LookPanel::LookPanel(const Words& words, Look& look) : Panel(words.translated("Easier to read")) {
  mFirst = &check(words.translated("Large text"), look.hasLargeText(),
                  [&look](bool isOn) { look.setLargeText(isOn); });
  append(*mFirst);
  append(check(words.translated("High contrast"), look.hasHighContrast(),
               [&look](bool isOn) { look.setHighContrast(isOn); }));
}

void LookPanel::begin() { mFirst->grab_focus(); }

}  // namespace gatehall::greeter
