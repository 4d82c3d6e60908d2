#pragma once

#include <memory>
#include <thread>

#include "gatehall/base/Export.h"
#include "gatehall/linux/LinuxSwitchPlatform.h"
#include "gatehall/linux/loop/LinuxRunLoop.h"

namespace gatehall {

class EventLoop;
class MainLoop;

/// The Linux machine that the program runs on, with every service of a platform.
class GATEHALL_EXPORT LinuxPlatform final : public LinuxSwitchPlatform {
 public:
  /// Logs to the system log under the program's name.
  LinuxPlatform(const LinuxOptions& options, std::string identity);

  /// Logs elsewhere.
  LinuxPlatform(const LinuxOptions& options, std::shared_ptr<Log> log);

  ~LinuxPlatform() override;

  TextSystem& text() override;
  Markup& markup() override;
  ParentalControls& parentalControls() override;
  SystemNotifications& systemNotifications() override;
  LinuxRunLoop& runLoop() override;
  void endThreads() override;

 private:
  struct Services;

  MainLoop& mainLoop();
  void listen(EventLoop& events);

  const std::thread::id mMainThread = std::this_thread::get_id();
  const std::unique_ptr<Services> mServices;
};

}  // namespace gatehall
