#include "linux/AuditRecord.h"

#include <libaudit.h>
#include <string>
#include <syslog.h>

#include "gatehall/base/PlatformException.h"
#include "linux/files/FaultLog.h"
#include "linux/files/FileDescriptor.h"
#include "portable/LazyLibrary.h"

namespace gatehall {

namespace {

struct Library {
  LazyLibrary library{"libaudit.so.1", "libaudit1"};
  decltype(::audit_open)* open = GATEHALL_FUNCTION(library, audit_open);
  decltype(::audit_is_enabled)* isEnabled = GATEHALL_FUNCTION(library, audit_is_enabled);
  decltype(::audit_log_acct_message)* logAccount =
      GATEHALL_FUNCTION(library, audit_log_acct_message);
};

}  // namespace

void writeAuditRecord(const DecisionRecord& decision) {
  try {
    static const Library library;
    const FileDescriptor audit(library.open());
    if (!audit.isOpen() || library.isEnabled(audit.number()) != 1) return;
    const bool isAdmitted = decision.answer == DecisionRecord::Answer::Admitted;
    // With a name the id is not told, which is one of the machine's own only for local accounts.
    const auto name = printable(decision.userName);
    library.logAccount(audit.number(), AUDIT_USER_LOGIN, nullptr, "gatehall-switch",
                       name.empty() ? nullptr : name.c_str(), decision.userID, nullptr, nullptr,
                       nullptr, isAdmitted ? 1 : 0);
  } catch (const PlatformException& failure) {
    syslog(LOG_AUTHPRIV | LOG_NOTICE, "No audit record: %s", failure.what());
  }
}

}  // namespace gatehall
