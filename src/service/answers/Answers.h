#pragma once

#include "accounts/AccountHost.h"
#include "accounts/Accounts.h"
#include "gatehall/linux/LinuxPlatform.h"
#include "linux/files/HostOptions.h"
#include "portable/formats/MessageCatalogue.h"
#include "service/answers/Question.h"

namespace gatehall::service {

/// The machine that is installed, which has those options; both have to outlive what is asked.
AccountHost hostOf(LinuxPlatform& machine, const HostOptions& options);

/// Answers questions, each anew from what is on the machine then, as a fresh gatehall-switch does;
/// a network directory's entries may be seconds old (gatehall-directory.toml(5)).
/// From any thread, on several at once; waits no longer than the host does. Raises nothing.
///
/// CanLogIn: "uid", "found", "allowed", "rule" (Verdict::rule), "ruleText", "source", "name",
/// "sentence" and, of who has login hours, "hours" with "allowedNow" and "until". Explain: the
/// same, and what else propertiesOf has. Absent is what there isn't, also a list of dictionaries
/// without any; a list of texts is there, if empty.
///
/// The rules decide what is allowed, as for `gatehallctl can-log-in`: login hours stand beside
/// that. Who may log in but not at this time is told so in the sentence. Who may not know the
/// account's hours gets an answer as if it had none, and may have nobody's account explained but
/// their own: org.freedesktop.DBus.Error.AccessDenied. An account that another one hides is not
/// one's own, although it has one's user id.
///
/// User: the keys of `gatehallctl --json users`; without "kinwatchAllowsLogin" and
/// "kinwatchNextCurfewTime" for who may not know hours. Whom the layer would never show, such as a
/// locked account, is nobody: com.orvane.Gatehall1.Error.NoSuchUser, whose text says why. Where a
/// directory is away, com.orvane.Gatehall1.Error.Undecidable.
///
/// Nothing tells whether an account's password is empty: one with an empty password and one with
/// another get the same answers. The rule "no password" is that of accounts which no password fits
/// ("*" or "!" in its place, shadow(5)), not even an empty one.
class Answers {
 public:
  explicit Answers(AccountHost host);

  Answer operator()(const Question& question) const;

 private:
  Dictionary canLogIn(const Question& question, Meant meant) const;
  Answer explain(const Question& question, Meant meant) const;
  Answer user(const Question& question, const Meant& meant) const;
  MessageCatalogue languageOf(const Question& question) const;

  AccountHost mHost;
};

}  // namespace gatehall::service
