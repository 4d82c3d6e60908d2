#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "gatehall/base/Value.h"
#include "gatehall/linux/LinuxPlatform.h"
#include "instrumented/RecordingLog.h"
#include "instrumented/RecordingLoginService.h"
#include "instrumented/Trace.h"
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
  /// The machine that the world file describes, with the faults that it asks for; without a file
  /// this machine. Of what is asked of it that much is kept. Raises WorldError.
  Host(const std::optional<std::string>& worldFile, Trace::Keeps kept);
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  /// nullptr on this machine.
  World* world() const { return mWorld.get(); }
  /// Absent on this machine.
  const std::optional<std::string>& worldFile() const { return mWorldFile; }

  /// nullptr in a world.
  LinuxPlatform* machine() const { return mMachine.get(); }

  /// This machine's nodes of network directories, in their order; none in a world.
  std::vector<std::shared_ptr<NetworkNode>> networkNodes() const;

  /// To root on this machine: what other users' runs would see otherwise, one sentence each.
  Strings filesHiddenFromUsers() const;

  /// What is installed, to be kept by who spares taking it apart.
  const std::shared_ptr<Platform>& platform() const { return mPlatform; }

  RecordingLog& log() const { return *mLog; }
  const RecordingLoginService& loginService() const { return *mLoginService; }
  const Trace& trace() const { return *mTrace; }

 private:
  std::optional<std::string> mWorldFile;
  std::shared_ptr<World> mWorld;
  std::shared_ptr<LinuxPlatform> mMachine;
  std::shared_ptr<RecordingLog> mLog = std::make_shared<RecordingLog>();
  std::shared_ptr<RecordingLoginService> mLoginService;
  std::shared_ptr<Trace> mTrace;
  std::shared_ptr<Platform> mPlatform;
};

}  // namespace gatehall::ctl
