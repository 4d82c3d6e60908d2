#include "greeter/window/NameCard.h"

#include <gtkmm.h>
#include <utility>

#include "greeter/window/Accessible.h"

namespace gatehall::greeter {

namespace {

constexpr int kPortrait = 88;
constexpr int kSmallPortrait = 48;
/// The longest that a login name can be, sssd's "name@domain" among them.
constexpr int kLongestName = 256;

/// What is pasted may have more.
std::string firstLine(const std::string& text) {
  return text.substr(0, text.find_first_of("\r\n"));
}

}  // namespace

NameCard::NameCard(const Words& words, std::function<void(const std::string& name)> typed,
                   const std::function<void()>& back, const std::function<void()>& guest)
    : Gtk::Box(Gtk::Orientation::VERTICAL), mTyped(std::move(typed)), mPortrait(kPortrait) {
  add_css_class("login");
  mPortrait.show(nullptr);
  append(mPortrait);
  auto& title = *Gtk::make_managed<Gtk::Label>(std::string(words.translated("Who are you?")));
  title.add_css_class("name");
  append(title);
  mReason.add_css_class("message");
  mReason.set_wrap();
  mReason.set_justify(Gtk::Justification::CENTER);
  mReason.set_visible(false);
  append(mReason);
  auto& label =
      *Gtk::make_managed<Gtk::Label>(std::string(words.translated("User name")), Gtk::Align::START);
  label.add_css_class("prompt");
  append(label);
  mName.set_max_length(kLongestName);
  mName.set_enable_undo(false);  // it would bring back what was cleared
  mName.set_input_hints(Gtk::InputHints::NO_SPELLCHECK | Gtk::InputHints::LOWERCASE |
                        Gtk::InputHints::NO_EMOJI);
  setLabel(mName, words.translated("User name"));
  mName.signal_activate().connect(sigc::mem_fun(*this, &NameCard::next));
  append(mName);
  auto& buttons = *Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL, 10);
  buttons.add_css_class("buttons");
  mBack.set_label(std::string(words.translated("Back")));
  mBack.signal_clicked().connect(back);
  buttons.append(mBack);
  auto& go = *Gtk::make_managed<Gtk::Button>(std::string(words.translated("Continue")));
  go.add_css_class("suggested");
  go.set_hexpand();
  go.set_halign(Gtk::Align::END);
  go.signal_clicked().connect(sigc::mem_fun(*this, &NameCard::next));
  buttons.append(go);
  append(buttons);
  mGuest.set_label(std::string(words.translated("Guest")));
  mGuest.set_hexpand();
  mGuest.set_halign(Gtk::Align::CENTER);
  mGuest.signal_clicked().connect(guest);
  mFoot.add_css_class("foot");
  mFoot.append(mGuest);
  append(mFoot);
}

void NameCard::showReason(const std::string& why) {
  mReason.set_text(why);
  mReason.set_visible(!why.empty());
  setDescription(mName, why);
}

void NameCard::setCanGoBack(bool can) { mBack.set_visible(can); }

void NameCard::offerGuest(bool isThere) { mFoot.set_visible(isThere); }

void NameCard::setLow(bool isLow) { mPortrait.setDiameter(isLow ? kSmallPortrait : kPortrait); }

void NameCard::clear() { mName.set_text(""); }

bool NameCard::isTyping() const {
  const std::string name = mName.get_text();
  return !name.empty() && name != mTypedName;
}

void NameCard::focusName() { mName.grab_focus(); }

void NameCard::next() {
  const std::string text = mName.get_text();
  const auto name = firstLine(text);
  if (name.empty()) return focusName();
  mTypedName = text;
  mTyped(name);
}

}  // namespace gatehall::greeter
