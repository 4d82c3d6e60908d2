#pragma once

#include <gtkmm.h>
#include <memory>
#include <string>

#include "menu/Choice.h"
#include "people/Roll.h"
#include "people/Words.h"
#include "people/widgets/PeopleView.h"

namespace gatehall::menu {

/// The small window: the way to the login screen, the list of people, and what there is to say
/// about the choice. On GTK's thread.
class MenuWindow : public Gtk::ApplicationWindow {
 public:
  /// The roll and the words live longer.
  MenuWindow(Roll& roll, const Words& words);

  PeopleView& people() { return mPeople; }

  /// As it is when it opens: nothing searched, nothing said, the keyboard's focus in the field.
  void reset();
  void tell(const ChoiceView& view);

  sigc::signal<void()>& signalLoginScreen() { return mLoginScreen; }
  /// What is said was read.
  sigc::signal<void()>& signalBack() { return mBack; }
  /// Esc, or the focus is another window's.
  sigc::signal<void()>& signalLeft() { return mLeft; }

 private:
  void putTogether(const Words& words);
  bool press(guint key);

  const Roll& mRoll;
  Gtk::Box mAll{Gtk::Orientation::VERTICAL};
  Gtk::Button mButton;
  Gtk::Button mSaid;  ///< a screen reader tells of it because it takes the focus
  Gtk::Box mLines{Gtk::Orientation::VERTICAL};
  Gtk::Label mTitle;
  Gtk::Label mText;
  PeopleView mPeople;
  bool mIsSwitching = false;
  sigc::signal<void()> mLoginScreen;
  sigc::signal<void()> mBack;
  sigc::signal<void()> mLeft;
};

}  // namespace gatehall::menu
