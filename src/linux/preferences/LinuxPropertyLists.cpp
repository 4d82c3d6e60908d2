#include "linux/preferences/LinuxPropertyLists.h"

#include <utility>

#include "linux/files/OwnedFile.h"
#include "portable/formats/PropertyList.h"

namespace gatehall {

std::optional<Value> readOwnedPropertyList(const std::string& path,
                                           std::initializer_list<std::uint32_t> owners, Log& log) {
  const auto ignore = [&](const std::string& why) {
    log.error("Ignoring " + path + ": " + why + ".");
    return std::nullopt;
  };
  std::string fault;
  const auto bytes = readOwnedFile(path, owners, kLargestPropertyList, fault);
  if (!bytes) return fault.empty() ? std::nullopt : ignore(fault);
  try {
    return parsePropertyList(*bytes);
  } catch (const MalformedPropertyList& error) {
    return ignore(error.what());
  }
}

LinuxPropertyLists::LinuxPropertyLists(HostOptions options, Log& log)
    : mOptions(std::move(options)), mLog(log) {}

std::optional<Value> LinuxPropertyLists::readPropertyList(std::string_view path) {
  return readOwnedPropertyList(mOptions.root + std::string(path), {systemOwner(mOptions)}, mLog);
}

}  // namespace gatehall
