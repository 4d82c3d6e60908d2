#pragma once

#include <optional>
#include <string_view>

#include "gatehall/platform/Log.h"
#include "gatehall/platform/PreferenceStore.h"
#include "linux/files/FaultLog.h"
#include "linux/files/HostOptions.h"

namespace gatehall {

/// Property lists by which the machine's administrator decides. A file is looked for in
/// /etc/gatehall/managed first, under its name, then where its path says; the first that is there
/// is the answer, and raises PlatformException when it can't be used or says what it can't mean
/// (readPolicySettings).
class LinuxPropertyLists final : public PropertyListReader {
 public:
  LinuxPropertyLists(HostOptions options, Log& log);

  std::optional<Value> readPropertyList(std::string_view path) override;

 private:
  HostOptions mOptions;
  FaultLog mFaults;
};

}  // namespace gatehall
