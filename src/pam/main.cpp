#include <cerrno>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include "gatehall/linux/LinuxSwitchPlatform.h"
#include "gatehall/platform/Platform.h"
#include "linux/LazyService.h"
#include "linux/MachineLocale.h"
#include "linux/files/HostOptions.h"
#include "linux/hours/LinuxParentalControls.h"
#include "linux/local/AccountAtDoor.h"
#include "linux/process/ProcessStart.h"
#include "linux/process/ResourceLimits.h"
#include "pam/DoorDecision.h"
#include "pam/Sentence.h"
#include "pam/door/Message.h"

/// Decides for the module pam_gatehall, in a process of its own: one question comes through
/// standard input, a socket, and one answer goes back.

namespace gatehall {

namespace {

constexpr std::string_view kIdentity = "pam_gatehall";

/// What a decision takes, and login hours.
class DoorPlatform final : public LinuxSwitchPlatform {
 public:
  explicit DoorPlatform(const LinuxOptions& options)
      : LinuxSwitchPlatform(options, std::string(kIdentity)) {}

  ParentalControls& parentalControls() override {
    return mParentalControls.get(HostOptions(), log(), clock(), [](std::uint32_t, Date) {});
  }

 private:
  LazyService<LinuxParentalControls> mParentalControls;
};

/// Whoever has called the module may have been started by somebody with fewer rights.
void becomeEffectiveUser() {
  const auto group = getegid();
  const auto user = geteuid();
  if (setresgid(group, group, group) != 0 || setresuid(user, user, user) != 0) std::abort();
}

/// Of somebody with fewer rights for whom the service acts; they stay where they can't be lifted.
void liftLimits() {
  constexpr rlim_t kOpenFiles = 1024;
  const rlimit none{RLIM_INFINITY, RLIM_INFINITY};
  for (const auto which : {RLIMIT_AS, RLIMIT_DATA, RLIMIT_CPU, RLIMIT_NPROC}) {
    setrlimit(which, &none);
  }
  rlimit files{};
  if (getrlimit(RLIMIT_NOFILE, &files) != 0 || files.rlim_max >= kOpenFiles) return;
  files.rlim_max = kOpenFiles;
  setrlimit(RLIMIT_NOFILE, &files);
}

bool receive(pam::Question& question) {
  for (;;) {
    const auto count = recv(STDIN_FILENO, &question, sizeof question, MSG_TRUNC);
    if (count < 0 && errno == EINTR) continue;
    return count == ssize_t{sizeof question};
  }
}

pam::Verdict verdictOf(DecisionRecord::Answer answer) {
  switch (answer) {
    case DecisionRecord::Answer::Admitted:
      return pam::Verdict::Admitted;
    case DecisionRecord::Answer::Refused:
      return pam::Verdict::Refused;
    case DecisionRecord::Answer::NotFound:
      return pam::Verdict::Unknown;
    case DecisionRecord::Answer::Undecidable:
      break;
  }
  return pam::Verdict::Undecidable;
}

pam::Answer answerTo(const pam::Question& question, bool hasRoom) {
  pam::Door door{.service = std::string(question.service.value()),
                 .isLocal = question.isLocal == 1,
                 .hours = question.hours == 1,
                 .fault = std::string(question.fault.value())};
  if (!hasRoom) door.fault = "The caller's limits on memory or open files are too low.";
  const auto account =
      accountAtDoor(HostOptions(), platform().log(), std::string(question.userName.value()));
  const pam::Visitor visitor{account.userName, account.userID, account.isLocalAdministrator};
  const auto decision = pam::decideAtDoor(door, visitor);
  if (auto* decisions = platform().decisionLog()) {
    auto record = pam::recordOf(door, visitor, decision);
    const bool isUndecidable = record.answer == DecisionRecord::Answer::Undecidable;
    if (isUndecidable && hasRoom && question.admitsUndecidable == 1) {
      record.reason.insert(0, "let in all the same: ");
    }
    decisions->keep(record);
  }

  pam::Answer answer{};
  answer.verdict = verdictOf(decision.answer);
  if (decision.isAdmitted()) return answer;
  // Nobody gets in by limits of their own making.
  if (!hasRoom) answer.verdict = pam::Verdict::Refused;
  const std::string locale(question.language.value());
  const auto language =
      pam::languageOf(locale.empty() ? machineLocale(HostOptions(), "LC_MESSAGES") : locale);
  const auto sentence = pam::sentenceFor(decision, platform().clock().now(), language);
  if (!answer.sentence.set(sentence)) std::abort();
  return answer;
}

}  // namespace

}  // namespace gatehall

/// An exception that nobody catches ends the process without a word.
void __gnu_cxx::__verbose_terminate_handler() { std::abort(); }

int main() {
  gatehall::distrustCaller();
  alarm(gatehall::pam::kLongestDecision);
  gatehall::becomeEffectiveUser();
  gatehall::pam::Question question{};
  if (!gatehall::receive(question)) return EXIT_FAILURE;
  gatehall::liftLimits();
  const bool hasRoom = gatehall::raiseResourceLimits();
  gatehall::LinuxOptions options;
  // Accounts are asked for nothing about them: the door asks by itself.
  options.setSessionLimits(false);
  gatehall::Platform::install(std::make_shared<gatehall::DoorPlatform>(options));
  const auto answer = gatehall::answerTo(question, hasRoom);
  const bool isSent = send(STDIN_FILENO, &answer, sizeof answer, MSG_NOSIGNAL) >= 0;
  gatehall::Platform::install(nullptr);
  return isSent ? EXIT_SUCCESS : EXIT_FAILURE;
}
