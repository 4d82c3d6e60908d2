#include "linux/LinuxLog.h"

#include <syslog.h>
#include <utility>

namespace gatehall {

LinuxLog::LinuxLog(std::string identity) : mIdentity(std::move(identity)) {
  openlog(mIdentity.c_str(), LOG_PID, LOG_USER);
}

LinuxLog::~LinuxLog() { closelog(); }

void LinuxLog::error(std::string_view text) { syslog(LOG_ERR, "%s", std::string(text).c_str()); }

void LinuxLog::diagnostic(std::string_view text) {
  syslog(LOG_WARNING, "%s", std::string(text).c_str());
}

}  // namespace gatehall
