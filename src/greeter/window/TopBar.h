#pragma once

#include <functional>
#include <gtkmm/button.h>
#include <gtkmm/centerbox.h>
#include <gtkmm/label.h>
#include <sigc++/connection.h>
#include <string>

#include "people/Words.h"

namespace gatehall::greeter {

/// The line at the screen's top: the machine's name, the time, and what can be set up.
class TopBar final : public Gtk::CenterBox {
 public:
  /// What people open there.
  struct Deeds {
    std::function<void()> openKeyboard;
    std::function<void()> openLanguage;
    std::function<void()> openLook;
    std::function<void()> openPower;
  };

  /// "clock" is a format of strftime(3); "": the language's. No host name is shown for "".
  TopBar(const Words& words, const std::string& hostName, std::string clock, Deeds deeds);
  ~TopBar() override;

  /// The layout in use, and what it is called in full; "": none is shown.
  void setLayout(const std::string& code, const std::string& name);
  /// The language of the session; "": none is chosen here.
  void setLanguage(const std::string& name);
  void offerLanguages(bool areThere);
  void offerPower(bool isThere);

 private:
  bool tick();

  const Words& mWords;
  const std::string mFormat;
  Gtk::Label mHostName;
  Gtk::Label mClock;
  Gtk::Label mLayoutCode;
  Gtk::Label mLanguageName;
  Gtk::Button mKeyboard;
  Gtk::Button mLanguage;
  Gtk::Button mLook;
  Gtk::Button mPower;
  sigc::connection mTicks;
};

}  // namespace gatehall::greeter
