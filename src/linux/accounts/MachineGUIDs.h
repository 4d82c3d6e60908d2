#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "linux/files/FaultLog.h"
#include "linux/files/HostOptions.h"
#include "portable/NameBasedUUID.h"

namespace gatehall {

struct GUIDHash {
  /// A name-based UUID is a hash already.
  std::size_t operator()(const UUIDBytes& guid) const {
    std::size_t part = 0;
    std::memcpy(&part, guid.data(), sizeof part);
    return part;
  }
};

/// The GUIDs of this machine's accounts and groups: name-based UUIDs of the machine id
/// (machine-id(5)) and the user or group id, so that nothing has to be stored for them to stay the
/// same. A machine without a readable id gets them in the namespace of all zeros, and the log says
/// so. From any thread.
class MachineGUIDs {
 public:
  MachineGUIDs(const HostOptions& options, FaultLog& faults) : mOptions(options), mFaults(faults) {}

  UUIDBytes ofUser(std::uint32_t userID);
  UUIDBytes ofGroup(std::uint32_t groupID);

  /// Raises PlatformException when the machine has an id that can't be read: whose a GUID is can't
  /// be told then, and nobody's is not the answer.
  void requireMachineID();

  /// Of a group that has no group id.
  UUIDBytes ofGroupNamed(std::string_view name);

  /// The user id behind a GUID that ofUser answered lately, unless another one took its place.
  /// Finding it otherwise takes one hash for every account.
  std::optional<std::uint32_t> rememberedUserID(const UUIDBytes& guid);

 private:
  struct Remembered {
    UUIDBytes guid;
    std::uint32_t userID;
  };

  Remembered& placeOf(const UUIDBytes& guid);
  UUIDBytes machineID();
  UUIDBytes readMachineID();

  const HostOptions& mOptions;
  FaultLog& mFaults;
  std::once_flag mMachineIDIsRead;
  UUIDBytes mMachineID{};
  std::string mFault;  ///< why it can't be read
  std::mutex mMutex;
  std::vector<Remembered> mRemembered;
};

}  // namespace gatehall
