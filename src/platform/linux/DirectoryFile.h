#pragma once

#define TOML_EXCEPTIONS 0
#define TOML_ENABLE_FORMATTERS 0
// The other way of reading numbers brings all of iostreams into every program.
#define TOML_FLOAT_CHARCONV 1
#include <toml++/toml.h>

#include "platform/linux/FaultLog.h"
#include "platform/linux/HostOptions.h"

namespace gatehall {

/// /etc/gatehall/directory.toml, read once.
struct DirectoryFile {
  static constexpr std::string_view kPath = "/etc/gatehall/directory.toml";

  enum class State {
    Missing,
    Unusable,  ///< not to be trusted or not understood; the log says why
    Read,
  };

  State state = State::Missing;
  toml::table table;

  static DirectoryFile read(const HostOptions& options, FaultLog& faults);
};

/// Reports that the key, "TABLE.NAME", is no setting.
void reportUnknownKey(FaultLog& faults, const toml::key& key, std::string_view table);

}  // namespace gatehall
