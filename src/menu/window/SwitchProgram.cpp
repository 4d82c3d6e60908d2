#include "menu/window/SwitchProgram.h"

#include <gtkmm.h>
#include <sys/wait.h>

namespace gatehall::menu {

void runSwitch(const std::string& program, const std::vector<std::string>& words,
               const std::function<void(const SwitchRun&)>& ended) {
  std::vector<std::string> command{program};
  command.insert(command.end(), words.begin(), words.end());
  Glib::Pid process{};
  try {
    // Without what stands open here, and with nothing to read.
    Glib::spawn_async("", command, Glib::SpawnFlags::DO_NOT_REAP_CHILD, {}, &process);
  } catch (const Glib::Error& failure) {
    Glib::signal_idle().connect_once([ended, why = std::string(failure.what())] {
      ended({SwitchRun::End::NotStarted, why});
    });
    return;
  }
  Glib::signal_child_watch().connect(
      [ended](Glib::Pid, int status) {
        ended({WIFEXITED(status) ? SwitchRun::End::Whole : SwitchRun::End::Broken});
      },
      process);
}

}  // namespace gatehall::menu
