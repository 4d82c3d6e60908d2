#include "greeter/window/TopBar.h"

#include <chrono>
#include <gtkmm.h>
#include <utility>

#include "greeter/window/Accessible.h"
#include "greeter/window/Symbol.h"
#include "people/Times.h"

namespace gatehall::greeter {

namespace {

constexpr int kSymbol = 18;
constexpr int kLongestName = 24;  ///< in characters

void fill(Gtk::Button& button, Symbol::Shape shape, Gtk::Label* text,
          const std::function<void()>& clicked) {
  auto& line = *Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL, 6);
  line.append(*Gtk::make_managed<Symbol>(shape, kSymbol));
  if (text != nullptr) {
    text->set_ellipsize(Pango::EllipsizeMode::END);
    text->set_max_width_chars(kLongestName);
    line.append(*text);
  }
  button.set_child(line);
  button.signal_clicked().connect(clicked);
}

std::string usual(Date now, const Words& words) {
  // TRANSLATORS: how a day is written, as in "Monday, 2 November", by strftime(3).
  const auto day = timeText(now, std::string(words.translated("%A, %-e %B")));
  return day + "   " + timeOfDay(now);
}

}  // namespace

TopBar::TopBar(const Words& words, const std::string& hostName, std::string clock, Deeds deeds)
    : mWords(words), mFormat(std::move(clock)), mHostName(hostName) {
  add_css_class("topbar");
  mHostName.add_css_class("host");
  mHostName.set_ellipsize(Pango::EllipsizeMode::END);
  mHostName.set_halign(Gtk::Align::START);
  set_start_widget(mHostName);
  mClock.add_css_class("clock");
  set_center_widget(mClock);
  auto& buttons = *Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL, 2);
  fill(mKeyboard, Symbol::Shape::Keyboard, &mLayoutCode, deeds.openKeyboard);
  fill(mLanguage, Symbol::Shape::Language, &mLanguageName, deeds.openLanguage);
  fill(mLook, Symbol::Shape::Access, nullptr, deeds.openLook);
  fill(mPower, Symbol::Shape::Power, nullptr, deeds.openPower);
  for (auto* const button : {&mKeyboard, &mLanguage, &mLook, &mPower}) buttons.append(*button);
  set_end_widget(buttons);
  setLabel(mLook, words.translated("Easier to read"));
  setLabel(mPower, words.translated("Power"));
  setLayout("", "");
  setLanguage("");
  offerLanguages(false);
  offerPower(false);
  tick();
  mTicks = Glib::signal_timeout().connect_seconds(sigc::mem_fun(*this, &TopBar::tick), 1);
}

TopBar::~TopBar() { mTicks.disconnect(); }

void TopBar::setLayout(const std::string& code, const std::string& name) {
  mKeyboard.set_visible(!code.empty());
  mLayoutCode.set_text(code);
  setLabel(mKeyboard, withPlace(mWords.translated("Keyboard: %s"), name));
}

void TopBar::setLanguage(const std::string& name) {
  mLanguageName.set_text(name);
  mLanguageName.set_visible(!name.empty());
  setLabel(mLanguage, name.empty() ? std::string(mWords.translated("Language"))
                                   : withPlace(mWords.translated("Language: %s"), name));
}

void TopBar::offerLanguages(bool areThere) { mLanguage.set_visible(areThere); }

void TopBar::offerPower(bool isThere) { mPower.set_visible(isThere); }

bool TopBar::tick() {
  const auto now = Date(std::chrono::system_clock::now());
  const auto text = mFormat.empty() ? usual(now, mWords) : timeText(now, mFormat);
  if (mClock.get_text().raw() != text) mClock.set_text(text);
  return true;
}

}  // namespace gatehall::greeter
