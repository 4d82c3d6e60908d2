#include "greeter/window/AutologinBar.h"

#include <gtkmm.h>

#include "people/Names.h"

namespace gatehall::greeter {

namespace {

std::string nameOf(const Whom& whom, const Words& words) {
  if (whom.kind == Whom::Kind::Guest) return std::string(words.translated("Guest"));
  return whom.user ? shownName(*whom.user) : inOneLine(whom.name);
}

}  // namespace

AutologinBar::AutologinBar(const Words& words, const std::function<void()>& cancelled)
    : Gtk::Box(Gtk::Orientation::HORIZONTAL, 10), mWords(words) {
  add_css_class("autologin");
  auto& texts = *Gtk::make_managed<Gtk::Box>(Gtk::Orientation::VERTICAL);
  texts.set_hexpand();
  for (auto* const label : {&mWhom, &mTime}) {
    label->set_halign(Gtk::Align::START);
    label->set_xalign(0);
    label->set_wrap();
    texts.append(*label);
  }
  mTime.add_css_class("details");
  append(texts);
  auto& cancel = *Gtk::make_managed<Gtk::Button>(std::string(words.translated("Cancel")));
  cancel.set_valign(Gtk::Align::CENTER);
  cancel.signal_clicked().connect(cancelled);
  append(cancel);
  set_visible(false);
}

void AutologinBar::show(const LoginView& view) {
  set_visible(view.autologin && view.autologinIn);
  if (!get_visible()) return;
  mWhom.set_text(withPlace(mWords.translated("Automatic login: %s"),
                           isolated(nameOf(*view.autologin, mWords))));
  mTime.set_text(
      withPlace(mWords.translated("Seconds left: %s"), std::to_string(view.autologinIn->count())));
}

}  // namespace gatehall::greeter
