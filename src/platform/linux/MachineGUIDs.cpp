#include "platform/linux/MachineGUIDs.h"

#include <cstring>

#include "platform/linux/FileDescriptor.h"

namespace gatehall {

const UUIDBytes& MachineGUIDs::machineID() {
  std::call_once(mMachineIDRead, [this] {
    constexpr std::string_view kPath = "/etc/machine-id";
    struct stat status {};
    int error = 0;
    const auto file =
        openRegularFile(mOptions.root + std::string(kPath), Symlinks::Follow, status, error);
    std::optional<std::string> text;
    if (error == 0) text = readWhole(file, 4096, error);
    if (!text) {
      mFaults.report(kPath, std::string(strerrordesc_np(error)) +
                                "; the GUIDs of local accounts are not this machine's own");
      return;
    }
    const auto id = parseHexadecimal(std::string_view(*text).substr(0, text->find('\n')));
    if (!id) {
      mFaults.report(kPath, 1,
                     "not 32 hexadecimal digits; the GUIDs of local accounts are not this "
                     "machine's own");
      return;
    }
    mMachineID = *id;
  });
  return mMachineID;
}

UUIDBytes MachineGUIDs::ofUser(std::uint32_t userID) {
  const auto guid = nameBasedUUID(machineID(), "user:" + std::to_string(userID));
  const std::lock_guard lock(mMutex);
  if (!mRemembered) mRemembered = std::make_unique<std::array<Remembered, kRemembered>>();
  (*mRemembered)[placeOf(guid)] = {guid, userID, true};
  return guid;
}

UUIDBytes MachineGUIDs::ofGroup(std::uint32_t groupID) {
  return nameBasedUUID(machineID(), "group:" + std::to_string(groupID));
}

UUIDBytes MachineGUIDs::ofGroupNamed(std::string_view name) {
  return nameBasedUUID(machineID(), "group named " + std::string(name));
}

std::size_t MachineGUIDs::placeOf(const UUIDBytes& guid) {
  return (guid[0] + 256U * guid[1]) % kRemembered;
}

std::optional<std::uint32_t> MachineGUIDs::rememberedUserID(const UUIDBytes& guid) {
  const std::lock_guard lock(mMutex);
  if (!mRemembered) return std::nullopt;
  const auto& place = (*mRemembered)[placeOf(guid)];
  if (!place.isUsed || place.guid != guid) return std::nullopt;
  return place.userID;
}

}  // namespace gatehall
