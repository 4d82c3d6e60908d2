#include "linux/accounts/MachineGUIDs.h"

#include <cerrno>
#include <cstring>

#include "gatehall/base/PlatformException.h"
#include "linux/files/FileDescriptor.h"
#include "linux/files/HostPath.h"

namespace gatehall {

namespace {

constexpr std::size_t kMostRemembered = 1024;

}  // namespace

UUIDBytes MachineGUIDs::machineID() {
  std::call_once(mMachineIDIsRead, [this] { mMachineID = readMachineID(); });
  return mMachineID;
}

void MachineGUIDs::requireMachineID() {
  machineID();
  if (!mFault.empty()) throw PlatformException(mFault);
}

UUIDBytes MachineGUIDs::readMachineID() {
  constexpr std::string_view kPath = "/etc/machine-id";
  constexpr std::string_view kConsequence =
      "; the GUIDs of local accounts are not this machine's own";
  struct stat status {};
  int error = 0;
  const auto file = openRegularFile(hostPath(mOptions, kPath), Symlinks::Follow, status, error);
  std::optional<std::string> text;
  if (error == 0) text = readWhole(file, 4096, error);
  if (!text) {
    const std::string why(strerrordesc_np(error));
    if (error != ENOENT) mFault = std::string(kPath).append(": ").append(why);
    mFaults.report(kPath, why + std::string(kConsequence));
    return {};
  }
  const auto id = parseHexadecimal(std::string_view(*text).substr(0, text->find('\n')));
  if (!id) {
    mFault = std::string(kPath).append(":1: not 32 hexadecimal digits");
    mFaults.report(kPath, 1, "not 32 hexadecimal digits" + std::string(kConsequence));
    return {};
  }
  return *id;
}

/// Where the GUID is remembered, if it is. Another one may be there.
MachineGUIDs::Remembered& MachineGUIDs::placeOf(const UUIDBytes& guid) {
  mRemembered.resize(kMostRemembered);
  return mRemembered[GUIDHash()(guid) % kMostRemembered];
}

UUIDBytes MachineGUIDs::ofUser(std::uint32_t userID) {
  const auto guid = nameBasedUUID(machineID(), "user:" + std::to_string(userID));
  const std::lock_guard lock(mMutex);
  placeOf(guid) = {guid, userID};
  return guid;
}

UUIDBytes MachineGUIDs::ofGroup(std::uint32_t groupID) {
  return nameBasedUUID(machineID(), "group:" + std::to_string(groupID));
}

UUIDBytes MachineGUIDs::ofGroupNamed(std::string_view name) {
  return nameBasedUUID(machineID(), "group named " + std::string(name));
}

std::optional<std::uint32_t> MachineGUIDs::rememberedUserID(const UUIDBytes& guid) {
  const std::lock_guard lock(mMutex);
  const auto& remembered = placeOf(guid);
  // An empty place has the GUID of all zeros, which no name gives.
  if (remembered.guid != guid || !isNameBased(guid)) return std::nullopt;
  return remembered.userID;
}

}  // namespace gatehall
