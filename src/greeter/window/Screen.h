#pragma once

#include <functional>
#include <gtkmm/box.h>
#include <gtkmm/eventcontrollerkey.h>
#include <gtkmm/label.h>
#include <gtkmm/overlay.h>
#include <gtkmm/picture.h>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "greeter/login/Login.h"
#include "greeter/machine/Keyboard.h"
#include "greeter/machine/Languages.h"
#include "greeter/machine/Power.h"
#include "greeter/settings/GreeterSettings.h"
#include "greeter/window/AutologinBar.h"
#include "greeter/window/ChoiceCard.h"
#include "greeter/window/KeptFocus.h"
#include "greeter/window/LoginCard.h"
#include "greeter/window/NameCard.h"
#include "greeter/window/Page.h"
#include "greeter/window/Panel.h"
#include "greeter/window/PowerPanel.h"
#include "greeter/window/TopBar.h"
#include "people/Words.h"
#include "people/look/Look.h"
#include "people/widgets/PeopleView.h"

namespace gatehall::greeter {

/// What people do on the login screen.
struct ScreenDeeds {
  std::function<void(const Person& person)> choose;
  std::function<void(const Whom& whom)> logIn;
  std::function<void(const SecretText& text)> answer;
  std::function<void()> goOn;
  std::function<void()> back;
  std::function<void()> touched;
  std::function<void(const std::string& key)> setSession;
  std::function<void(const std::string& locale)> setLanguage;
  std::function<void(std::size_t layout)> setLayout;
  std::function<void()> askPower;
  std::function<void(PowerAction action)> power;
};

/// The login screen: shows what it is told, and says what people do. On GTK's thread.
class Screen final : public Gtk::Overlay {
 public:
  /// The words, the look and the list live longer.
  Screen(const Words& words, const GreeterSettings& settings, const std::string& hostName,
         Look& look, PeopleView& people, ScreenDeeds deeds);

  void show(const LoginView& view);
  void setHints(const Hints& hints);
  void setSessions(std::vector<SessionKind> sessions);
  void setLanguages(std::vector<Language> languages);
  void setKeyboard(const std::vector<KeyboardLayout>& layouts, std::size_t current,
                   bool hasCapsLock);
  void setPower(const std::set<PowerAction>& offered);
  void setOthers(const Others& others);
  /// There is a list, to begin with too; or there is none, for that reason.
  void listIsThere();
  void listIsAway(const std::string& why);
  void setLogo(const Glib::RefPtr<Gdk::Texture>& logo);
  /// What couldn't be done, until the next thing is done.
  void complain(const std::string& what);

  /// The keyboard to where one begins.
  void begin();

 private:
  enum class Choice { List, Name };

  void fill();
  void listenToKeys();
  void fit();
  void showCard();
  void showNameButtons();
  void showLanguage();
  void startAnew();
  void open(std::unique_ptr<Panel> panel, Gtk::Align horizontal, Gtk::Align vertical);
  void close();
  void closeChosen();
  void openKeyboard();
  void openLanguage();
  void openPower();
  void openSession();
  void chooseAnother();
  void backToList();
  bool keyPressed(guint key);
  bool isListShown() const;
  std::string sessionName() const;
  std::string languageName() const;

  const Words& mWords;
  PeopleView& mPeople;
  Look& mLook;
  const ScreenDeeds mDeeds;
  const bool mHasPower;
  LoginView mView;
  Hints mHints;
  std::vector<SessionKind> mSessions;
  std::vector<Language> mLanguages;
  std::vector<KeyboardLayout> mLayouts;
  std::size_t mLayout = 0;
  std::set<PowerAction> mPower;
  Others mOthers;
  std::string mWhyNoList;
  bool mHasList = false;
  Choice mChoice = Choice::List;
  TopBar mTopBar;
  Gtk::Box mContent;
  Gtk::Overlay mLogo;
  Gtk::Box mLogoPlace;
  Gtk::Picture mLogoPicture;
  Gtk::Label mComplaint;
  Gtk::Box mCards;
  AutologinBar mAutologin;
  ChoiceCard mChoiceCard;
  NameCard mNameCard;
  LoginCard mLoginCard;
  Page mNamePage;
  Page mLoginPage;
  Glib::RefPtr<Gtk::EventControllerKey> mKeys;
  Gtk::Widget* mWindow = nullptr;  ///< it stands in
  Gtk::Widget* mShown = nullptr;
  Gtk::Box mScrim;
  std::unique_ptr<Panel> mPanel;
  PowerPanel* mPowerPanel = nullptr;  ///< of mPanel
  KeptFocus mFocusBefore;
};

}  // namespace gatehall::greeter
