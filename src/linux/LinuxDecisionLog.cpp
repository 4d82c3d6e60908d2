#include "linux/LinuxDecisionLog.h"

#include <array>
#include <cstddef>
#include <sys/uio.h>
#include <syslog.h>
#include <unistd.h>
#include <utility>
#include <vector>
#define SD_JOURNAL_SUPPRESS_LOCATION
#include <systemd/sd-journal.h>

#include "gatehall/base/PlatformException.h"
#include "linux/AuditRecord.h"
#include "linux/files/FaultLog.h"
#include "portable/LazyLibrary.h"

namespace gatehall {

namespace {

constexpr const char* kJournal = "/run/systemd/journal/socket";
constexpr std::size_t kLongestName = 256;
constexpr std::size_t kLongestReason = 512;

const char* word(DecisionRecord::Answer answer) {
  switch (answer) {
    case DecisionRecord::Answer::Admitted:
      return "admitted";
    case DecisionRecord::Answer::Refused:
      return "refused";
    case DecisionRecord::Answer::NotFound:
      return "not found";
    case DecisionRecord::Answer::Undecidable:
      break;
  }
  return "undecidable";
}

int levelOf(const DecisionRecord& decision) {
  return decision.answer == DecisionRecord::Answer::Admitted ? LOG_INFO : LOG_NOTICE;
}

/// False when the journal doesn't take it.
bool sendToJournal(const std::string& identity, const DecisionRecord& decision) {
  if (access(kJournal, W_OK) != 0) return false;
  try {
    static const LazyLibrary library("libsystemd.so.0", "libsystemd0");
    static auto* const send = GATEHALL_FUNCTION(library, sd_journal_sendv);
    std::vector<std::string> fields{
        "MESSAGE=" + decisionLine(decision),
        "PRIORITY=" + std::to_string(levelOf(decision)),
        "SYSLOG_FACILITY=" + std::to_string(LOG_FAC(LOG_AUTHPRIV)),
        "SYSLOG_IDENTIFIER=" + identity,
        "SYSLOG_PID=" + std::to_string(getpid()),
        "GATEHALL_CALLER=" + std::to_string(decision.caller),
        "GATEHALL_UID=" + std::to_string(decision.userID),
        "GATEHALL_USER=" + printable(decision.userName, kLongestName),
        std::string("GATEHALL_ANSWER=") + word(decision.answer),
        "GATEHALL_RULE=" + printable(decision.rule, kLongestName),
        "GATEHALL_SOURCE=" + printable(decision.source, kLongestName),
        "GATEHALL_REASON=" + printable(decision.reason, kLongestReason),
        "GATEHALL_SERVICE=" + printable(decision.service, kLongestName),
    };
    std::vector<iovec> parts;
    for (auto& field : fields) {
      if (field.find('=') + 1 < field.size()) parts.push_back({field.data(), field.size()});
    }
    return send(parts.data(), static_cast<int>(parts.size())) == 0;
  } catch (const PlatformException&) {
    return false;
  }
}

}  // namespace

LinuxDecisionLog::LinuxDecisionLog(std::string identity) : mIdentity(std::move(identity)) {}

void LinuxDecisionLog::keep(const DecisionRecord& decision) {
  if (!sendToJournal(mIdentity, decision)) {
    syslog(LOG_AUTHPRIV | levelOf(decision), "%s", decisionLine(decision).c_str());
  }
  // At a door the service itself tells the audit who was let in.
  if (geteuid() == 0 && decision.service.empty()) writeAuditRecord(decision);
}

std::string decisionLine(const DecisionRecord& decision) {
  std::string line;
  if (decision.service.empty()) {
    line.append("uid ").append(std::to_string(decision.caller)).append(" asked for ");
  } else {
    line.append(printable(decision.service, kLongestName)).append(": ");
  }
  const auto userID = std::to_string(decision.userID);
  if (decision.userName.empty()) {
    line.append("uid ").append(userID);
  } else {
    line.append(printable(decision.userName, kLongestName));
    if (decision.userID != DecisionRecord::kUnknown) line.append(" (").append(userID).append(")");
  }
  line.append(": ").append(word(decision.answer));
  if (!decision.rule.empty()) line += ": " + printable(decision.rule, kLongestName);
  if (!decision.source.empty()) line += " (" + printable(decision.source, kLongestName) + ")";
  if (!decision.reason.empty()) line += ": " + printable(decision.reason, kLongestReason);
  return line;
}

}  // namespace gatehall
