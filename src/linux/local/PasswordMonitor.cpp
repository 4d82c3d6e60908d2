#include "linux/local/PasswordMonitor.h"

#include <chrono>
#include <memory>
#include <string>

#include "gatehall/base/PlatformException.h"
#include "gatehall/linux/records/DirectoryErrorCodes.h"
#include "linux/accounts/AccountFiles.h"
#include "linux/local/User.h"
#include "linux/local/Users.h"

namespace gatehall::local {

namespace {

constexpr std::uint32_t kInPasswd = 1;
constexpr std::uint32_t kMayBeGiven = 2;
constexpr std::uint32_t kDisabled = 4;
constexpr std::uint32_t kEmpty = 8;
constexpr std::uint32_t kExpired = 16;
/// Of the empty password; any other number is the code of its refusal.
constexpr std::uint32_t kAccepted = 1;

/// What is wrong in the shadow file, for an answer: the monitor has no log. Other files' faults are
/// the program's own to find.
class ShadowFault final : public Log {
 public:
  void error(std::string_view text) override { diagnostic(text); }
  void diagnostic(std::string_view text) override {
    if (mText.empty() && text.starts_with(accountFiles::kShadow)) mText = text;
  }

  const std::string& text() const { return mText; }

 private:
  std::string mText;
};

class WallClock final : public Clock {
 public:
  Date now() override { return std::chrono::system_clock::now(); }
};

std::uint32_t numberOf(const PasswordKind& kind) {
  return (kind.isInPasswd ? kInPasswd : 0) | (kind.mayBeGiven ? kMayBeGiven : 0) |
         (kind.isDisabled ? kDisabled : 0) | (kind.isEmpty ? kEmpty : 0) |
         (kind.isExpired ? kExpired : 0);
}

/// The number that answers. Raises PlatformException when there is none.
std::uint32_t answerTo(const MonitorMessage& question) {
  const auto name = question.textValue();
  if (!name) throw PlatformException("the question has no end");
  ShadowFault fault;
  WallClock clock;
  const auto host = std::make_shared<Host>(HostOptions(), fault, clock);
  const auto user = userNamed(std::make_shared<Context>(host), *name);
  if (!user || user->loginName() != *name || user->userID() != question.number) {
    throw PlatformException("there is no such account");
  }
  const auto kind = user->passwordKind();
  // A line that can't be read counts as none where somebody only looks.
  if (kind.isUnreadable || (!kind.mayBeGiven && !fault.text().empty())) {
    throw PlatformException(fault.text().empty() ? "its hash can't be read" : fault.text());
  }
  if (question.question == MonitorQuestion::PasswordKind) return numberOf(kind);
  DirectoryError error;
  if (user->verifyPassword("", error)) return kAccepted;
  if (error.code <= kAccepted) throw PlatformException("its refusal has no reason");
  return static_cast<std::uint32_t>(error.code);
}

/// The number that the monitor tells.
std::uint32_t ask(Monitor& monitor, Host& host, MonitorQuestion kind, const Account& account) {
  const std::string name(account.line.name());
  const auto fail = [&](std::string_view why) {
    host.faults.report(accountFiles::kShadow,
                       "the password of " + printable(name) + ": " + std::string(why));
    throw PlatformException("The password of " + printable(name) + ": " + std::string(why));
  };
  MonitorMessage question;
  question.question = kind;
  question.number = account.line.userID();
  if (!question.setText(name)) fail("the name is too long");
  MonitorMessage answer;
  try {
    answer = monitor.ask(question);
  } catch (const PlatformException& failure) {
    fail(failure.what());
  }
  if (answer.question != kind || answer.answer != MonitorAnswer::Told) {
    fail(printable(answer.textValue().value_or("no reason"), 200));
  }
  return answer.number;
}

}  // namespace

void answerAboutPassword(const MonitorMessage& question, MonitorMessage& answer) {
  answer.question = question.question;
  try {
    answer.number = answerTo(question);
    answer.answer = MonitorAnswer::Told;
  } catch (const PlatformException& failure) {
    answer.answer = MonitorAnswer::Untold;
    answer.setText(printable(failure.what(), 200));
  }
}

PasswordKind kindThroughMonitor(Monitor& monitor, Host& host, const Account& account) {
  const auto told = ask(monitor, host, MonitorQuestion::PasswordKind, account);
  return {(told & kInPasswd) != 0,
          (told & kMayBeGiven) != 0,
          (told & kDisabled) != 0,
          (told & kExpired) != 0,
          false,
          (told & kEmpty) != 0};
}

bool verifyThroughMonitor(Monitor& monitor, Host& host, const Account& account,
                          std::string_view password, DirectoryError& error) {
  error = {std::string(kDirectoryErrorDomain), directoryError::kHashUnreadable};
  if (!password.empty()) return false;
  const auto told = ask(monitor, host, MonitorQuestion::AcceptsEmptyPassword, account);
  if (told == kAccepted) {
    error = {};
    return true;
  }
  error.code = told;
  return false;
}

}  // namespace gatehall::local
