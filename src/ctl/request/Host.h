#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "accounts/AccountHost.h"
#include "ctl/request/Overlay.h"
#include "gatehall/base/Value.h"
#include "gatehall/linux/LinuxPlatform.h"
#include "instrumented/RecordingLog.h"
#include "instrumented/RecordingLoginService.h"
#include "instrumented/Trace.h"
#include "linux/files/HostOptions.h"
#include "world/World.h"

namespace gatehall {

class NetworkNode;

}  // namespace gatehall

namespace gatehall::ctl {

/// The host that a verb looks at: installed as the process's while the object lives, and recorded.
/// Nothing reaches the system log. In a world a switch is carried out there; on this machine it is
/// only noted. Text has real fonts, in a world too.
class Host {
 public:
  /// Which machine: the one that a world file describes, with the faults that it asks for, or the
  /// one whose files stand under a folder, of which nothing runs; with neither, this one.
  struct Source {
    std::optional<std::string> world{};
    std::optional<std::string> root{};
    Overlay overlay{};  ///< what is laid over it
  };

  /// Of what is asked of the machine that much is kept. Raises WorldError, and UsageError when
  /// there is no such folder.
  Host(Source source, Trace::Keeps kept);
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  const Source& source() const { return mSource; }

  /// nullptr on this machine.
  World* world() const { return mWorld.get(); }
  /// Absent on this machine, and of one under a folder.
  const std::optional<std::string>& worldFile() const { return mSource.world; }

  /// This machine, or one under a folder; nullptr in a world.
  LinuxPlatform* machine() const { return mMachine.get(); }

  /// This machine's nodes of network directories, in their order; none in a world.
  std::vector<std::shared_ptr<NetworkNode>> networkNodes() const;

  /// What is asked about accounts here; good as long as this object.
  AccountHost accounts() const;

  /// Where the machine's files stand; of a world those of no machine.
  const HostOptions& options() const { return mOptions; }

  /// Where the machine's file of that absolute path stands. Raises PlatformException.
  std::string fileAt(std::string_view path) const;

  /// To root on the machine: what other users' runs would see otherwise, one sentence each.
  Strings filesHiddenFromUsers() const;

  /// What is installed, to be kept by who spares taking it apart.
  const std::shared_ptr<Platform>& platform() const { return mPlatform; }

  RecordingLog& log() const { return *mLog; }
  const RecordingLoginService& loginService() const { return *mLoginService; }
  const Trace& trace() const { return *mTrace; }

 private:
  /// The zone of the machine under a folder in place of this one's, for as long as it lives.
  class LocalTime;

  Source mSource;
  HostOptions mOptions;
  std::unique_ptr<LocalTime> mLocalTime;
  std::shared_ptr<World> mWorld;
  std::shared_ptr<LinuxPlatform> mMachine;
  std::shared_ptr<RecordingLog> mLog = std::make_shared<RecordingLog>();
  std::shared_ptr<RecordingLoginService> mLoginService;
  std::shared_ptr<Trace> mTrace;
  std::shared_ptr<Platform> mPlatform;
};

}  // namespace gatehall::ctl
