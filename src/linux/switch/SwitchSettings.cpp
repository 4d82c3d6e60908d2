#include "linux/switch/SwitchSettings.h"

#include <array>

#include "linux/files/TomlFile.h"

namespace gatehall {

namespace {

constexpr std::string_view kLock = "lock";
constexpr std::array<std::string_view, 1> kSettings{kLock};

}  // namespace

SwitchSettings SwitchSettings::read(const HostOptions& options, Log& log) {
  FaultLog faults(log);
  return read(options, faults);
}

SwitchSettings SwitchSettings::read(const HostOptions& options, FaultLog& faults) {
  const auto file = TomlFile::read(options, kPath, faults);
  bool isUsable = file.state == TomlFile::State::Read;
  for (const auto& [key, value] : file.table) {
    if (key.str() == kLock) continue;
    reportUnknownKey(faults, kPath, key, "", kSettings);
    isUsable = false;
  }
  const auto* lock = file.table.get(kLock);
  if (lock == nullptr) return {};
  const auto* text = lock->as_string();
  if (text == nullptr || (text->get() != "require" && text->get() != "try")) {
    faults.report(kPath, lock->source().begin.line, "lock is neither \"require\" nor \"try\"");
    isUsable = false;
  }
  return {.requiresLock = !isUsable || text->get() == "require"};
}

}  // namespace gatehall
