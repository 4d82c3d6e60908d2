#pragma once

#include <gtkmm.h>
#include <memory>
#include <string>

#include "gatehall/platform/Log.h"
#include "linux/files/HostOptions.h"
#include "linux/loop/MainLoop.h"
#include "menu/Choice.h"
#include "menu/window/MenuWindow.h"
#include "people/FollowedRoll.h"
#include "people/Roll.h"
#include "people/Words.h"
#include "people/look/Look.h"

namespace gatehall::menu {

/// The one menu of a session: what runs the program again is told to it. On the main thread, where
/// Platform has a host.
class MenuApplication : public Gtk::Application {
 public:
  /// "program" is gatehall-switch's path. The log lives longer.
  MenuApplication(HostOptions options, Log& log, Words words, std::string program);
  ~MenuApplication() override;

 protected:
  void on_startup() override;
  int on_command_line(const Glib::RefPtr<Gio::ApplicationCommandLine>& line) override;

 private:
  FollowedRoll::Follower follower();
  void drive();
  void open();
  void leave();
  void show(const ChoiceView& view);

  const HostOptions mOptions;
  Log& mLog;
  const Words mWords;
  const std::string mProgram;
  Roll mRoll;
  MainLoop mRunLoop;
  std::unique_ptr<FollowedRoll> mList;
  bool mHasList = false;
  std::unique_ptr<Choice> mChoice;
  std::unique_ptr<MenuWindow> mWindow;
  std::unique_ptr<Look> mLook;
  Glib::RefPtr<Gtk::CssProvider> mStyle;
  sigc::connection mEnd;  ///< of a program whose window is closed
  sigc::connection mEvents;
};

}  // namespace gatehall::menu
