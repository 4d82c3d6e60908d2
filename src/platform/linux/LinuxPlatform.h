#pragma once

#include <memory>
#include <thread>

#include "platform/linux/LinuxRunLoop.h"
#include "platform/linux/LinuxSwitchPlatform.h"

namespace gatehall {

/// The Linux machine that the program runs on, with every service of a platform.
class LinuxPlatform final : public LinuxSwitchPlatform {
 public:
  /// Logs to the system log under the program's name.
  LinuxPlatform(HostOptions options, std::string identity);

  /// Logs elsewhere.
  LinuxPlatform(HostOptions options, std::shared_ptr<Log> log);

  ~LinuxPlatform() override;

  TextSystem& text() override;
  Markup& markup() override;
  ParentalControls& parentalControls() override;
  SystemNotifications& systemNotifications() override;
  LinuxRunLoop& runLoop() override;
  void endThreads() override;

 private:
  struct Services;

  void listen(EventLoop& events);

  const std::thread::id mMainThread = std::this_thread::get_id();
  const std::unique_ptr<Services> mServices;
};

}  // namespace gatehall
