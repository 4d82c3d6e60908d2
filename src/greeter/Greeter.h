#pragma once

#include <cstdint>
#include <functional>
#include <gdkmm/texture.h>
#include <glibmm/main.h>
#include <memory>
#include <string>
#include <vector>

#include "gatehall/platform/Log.h"
#include "greeter/Toolkit.h"
#include "greeter/accounts/AccountsService.h"
#include "greeter/login/DisplayManager.h"
#include "greeter/login/Login.h"
#include "greeter/machine/InstalledLanguages.h"
#include "greeter/machine/Keyboard.h"
#include "greeter/machine/LoggedIn.h"
#include "greeter/machine/Power.h"
#include "greeter/settings/GreeterSettings.h"
#include "greeter/window/Monitors.h"
#include "greeter/window/Screen.h"
#include "linux/files/HostOptions.h"
#include "linux/loop/EventLoop.h"
#include "linux/loop/MainLoop.h"
#include "people/FollowedRoll.h"
#include "people/Roll.h"
#include "people/Words.h"
#include "people/look/Look.h"
#include "people/widgets/PeopleView.h"

namespace gatehall::greeter {

/// The login screen as a whole: what it is told by gatehalld(8), by the display manager and by the
/// machine, and what people do. On GTK's thread.
class Greeter {
 public:
  /// What is referred to lives longer. Raises PlatformException without an X display.
  Greeter(DisplayManager& displayManager, const Words& words, const GreeterSettings& settings,
          const HostOptions& options, Log& log);
  ~Greeter();
  Greeter(const Greeter&) = delete;
  Greeter& operator=(const Greeter&) = delete;

  /// Until the process is asked to end (SIGTERM, SIGINT, SIGHUP).
  void run();

 private:
  void begin(EventLoop& events);
  FollowedRoll::Follower follower();
  ScreenDeeds deeds();
  void showStyle();
  using ShowPicture = std::function<void(const Glib::RefPtr<Gdk::Texture>& picture)>;
  void showPicture(const std::string& path, ShowPicture show);
  template <typename Read, typename Show>
  void readAside(const std::string& path, Read read, Show show);
  void showOthers();
  void showKeyboard();
  void choose(const Person& person);

  DisplayManager& mDisplayManager;
  const Words& mWords;
  const GreeterSettings& mSettings;
  const HostOptions mOptions;
  Log& mLog;
  // What asks the machine does so while GTK starts.
  std::vector<EventLoop::SourceHandle> mSignals;
  std::unique_ptr<FollowedRoll> mList;
  std::unique_ptr<AccountsService> mAccounts;
  std::unique_ptr<Power> mPower;
  std::unique_ptr<LoggedIn> mLoggedIn;
  std::unique_ptr<Keyboard> mKeyboard;
  std::unique_ptr<InstalledLanguages> mLanguages;
  MainLoop mRunLoop;
  const int mDescriptor;
  const Toolkit mToolkit;
  Roll mRoll;
  ListedUsers mUsers;
  std::uint64_t mVisit = 0;  ///< as Login counts them
  Look mLook;
  PeopleView mPeople;
  Login mLogin;
  Screen mScreen;
  Monitors mMonitors;
  Glib::RefPtr<Glib::MainLoop> mLoop;
};

}  // namespace gatehall::greeter
