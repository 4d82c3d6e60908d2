#pragma once

#include <string>

#include "gatehall/platform/Log.h"

namespace gatehall {

/// The system log (syslog(3)): errors at level LOG_ERR, diagnostics at LOG_WARNING. The identity is
/// the process's: one object at a time.
class LinuxLog final : public Log {
 public:
  /// Messages carry the program's name.
  explicit LinuxLog(std::string identity);
  ~LinuxLog() override;
  LinuxLog(const LinuxLog&) = delete;
  LinuxLog& operator=(const LinuxLog&) = delete;

  void error(std::string_view text) override;
  void diagnostic(std::string_view text) override;

 private:
  std::string mIdentity;  ///< openlog(3) keeps the pointer
};

}  // namespace gatehall
