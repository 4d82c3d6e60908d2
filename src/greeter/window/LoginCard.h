#pragma once

#include <cstdint>
#include <functional>
#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/label.h>
#include <sigc++/connection.h>
#include <string>

#include "greeter/entry/AnswerEntry.h"
#include "greeter/login/Login.h"
#include "linux/files/SecretText.h"
#include "people/Words.h"
#include "people/widgets/Portrait.h"

namespace gatehall::greeter {

/// The login of one person: who it is, what the machine says, what is to be answered.
class LoginCard final : public Gtk::Box {
 public:
  /// What people do on it.
  struct Deeds {
    std::function<void(const SecretText& text)> answer;
    std::function<void()> goOn;
    std::function<void()> back;
    std::function<void()> chooseSession;
  };

  LoginCard(const Words& words, Deeds deeds);
  ~LoginCard() override;

  /// The session's name is that of the kind that will be begun; "": nothing can be chosen.
  void show(const LoginView& view, const std::string& sessionName);
  /// Nobody logs in: wipes what was typed, and what it was typed for.
  void clear();
  void setCapsLock(bool isOn);
  /// The keyboard's layout in use, and what it is called in full; "": it isn't known.
  void setLayout(const std::string& code, const std::string& name);
  /// On a screen that is low for the size of its texts less is shown large.
  void setLow(bool isLow);
  /// The keyboard to what is to be done now; where something is to be read first, in a moment.
  void focus();
  /// A key was pressed: whoever still types doesn't read yet.
  void keyPressed();

 private:
  void showWhom(const LoginView& view);
  void showMessages(const LoginView& view);
  void showPrompt(const LoginView& view);
  void showButtons(const LoginView& view, const std::string& sessionName);
  void showCapsLock();
  std::string statusOf(const LoginView& view) const;
  void waitForReading();
  void stopReading();
  void go();

  const Words& mWords;
  const Deeds mDeeds;
  LoginView::Stage mStage = LoginView::Stage::Choosing;
  std::uint64_t mPromptNumber = 0;
  bool mIsReading = false;  ///< what was told just now, which nothing passes yet
  sigc::connection mReadingEnd;
  std::int64_t mAnsweredAt = 0;  ///< in microseconds of GLib's clock
  bool mIsSecret = false;
  bool mHasCapsLock = false;
  Portrait mPortrait;
  Gtk::Label mName;
  Gtk::Label mDetails;
  Gtk::Box mMessages;
  Gtk::Label mPrompt;
  Gtk::Box mField;
  AnswerEntry mEntry;
  Gtk::Label mLayout;
  Gtk::Label mCapsLock;
  Gtk::Label mHint;
  Gtk::Label mStatus;
  Gtk::Button mBack;
  Gtk::Button mGo;
  Gtk::Box mFoot;
  Gtk::Button mSession;
  Gtk::Label mSessionName;
};

}  // namespace gatehall::greeter
