#pragma once

#include <string_view>

#include "gatehall/platform/DirectoryService.h"
#include "linux/local/Account.h"
#include "linux/local/Context.h"
#include "linux/local/Password.h"
#include "linux/process/Monitor.h"

/// The passwords of local accounts in a process that has no right to read them: its monitor reads
/// the account and its hash by itself, and tells what follows from them.
namespace gatehall::local {

/// In the monitor: the questions PasswordKind and AcceptsEmptyPassword, about this machine's
/// account with the name and user id. Untold: what can't be read, is damaged, or not there.
void answerAboutPassword(const MonitorMessage& question, MonitorMessage& answer);

/// As Password's functions of that name. What the monitor does not tell is logged and raised as
/// PlatformException. A password that is not empty is refused as one whose hash can't be read.
PasswordKind kindThroughMonitor(Monitor& monitor, Host& host, const Account& account);
bool verifyThroughMonitor(Monitor& monitor, Host& host, const Account& account,
                          std::string_view password, DirectoryError& error);

}  // namespace gatehall::local
