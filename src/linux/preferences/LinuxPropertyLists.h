#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>

#include "gatehall/platform/Log.h"
#include "gatehall/platform/PreferenceStore.h"
#include "linux/files/HostOptions.h"

namespace gatehall {

/// A file's property list when the file passes readOwnedFile's checks; absent, with one line in the
/// log, when it holds none.
std::optional<Value> readOwnedPropertyList(const std::string& path,
                                           std::initializer_list<std::uint32_t> owners, Log& log);

/// Property lists that the machine's administrator put down: files of root that nobody else can
/// write.
class LinuxPropertyLists final : public PropertyListReader {
 public:
  LinuxPropertyLists(HostOptions options, Log& log);

  std::optional<Value> readPropertyList(std::string_view path) override;

 private:
  HostOptions mOptions;
  Log& mLog;
};

}  // namespace gatehall
