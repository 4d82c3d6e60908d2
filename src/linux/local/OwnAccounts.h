#pragma once

#include "linux/accounts/MachineGUIDs.h"
#include "linux/accounts/PasswdLines.h"
#include "linux/files/FaultLog.h"
#include "linux/files/HostOptions.h"
#include "linux/records/LocalAccounts.h"

namespace gatehall::local {

/// The accounts of /etc/passwd and of /etc/userdb, those included whose line or record can't be
/// read, as far as a name or an id can be told. A copy is a user record that says which directory
/// it was made from, or has the uuid of the directory's account.
class OwnAccounts final : public LocalAccounts {
 public:
  OwnAccounts(const HostOptions& options, FaultLog& faults, MachineGUIDs& guids,
              PasswdLines& passwdLines)
      : mOptions(options), mFaults(faults), mGUIDs(guids), mPasswdLines(passwdLines) {}

  std::shared_ptr<const Snapshot> current() override;
  State state() const override;

 private:
  const HostOptions& mOptions;
  FaultLog& mFaults;
  MachineGUIDs& mGUIDs;
  PasswdLines& mPasswdLines;
};

}  // namespace gatehall::local
