#include "ctl/check/AdminFindings.h"

#include <string>
#include <utility>

#include "accounts/Verdict.h"
#include "ctl/check/AccessFindings.h"
#include "ctl/check/Policy.h"
#include "ctl/check/SilentLog.h"
#include "gatehall/directory/NodeConvenience.h"
#include "gatehall/platform/AttributeKinds.h"
#include "linux/files/FaultLog.h"
#include "linux/local/Settings.h"

namespace gatehall::ctl {

namespace {

using Severity = Finding::Severity;

/// Where a group of administrators stands that somebody can be added to, and its name.
std::pair<Finding, std::string> groupOfAdministrators(const HostOptions& options) {
  SilentLog log;
  FaultLog faults(log);
  const auto settings = local::Settings::read(options, faults);
  for (const auto& name : settings.adminGroups) {
    auto place = placeOfGroup(options, name);
    if (!place.file.empty()) return {std::move(place), name};
  }
  return {Finding(), settings.adminGroups.empty() ? "sudo" : settings.adminGroups.front()};
}

Finding withoutAdministrator(const Host& host) {
  if (host.machine() == nullptr) {
    return {Severity::Warning, host.worldFile().value_or(""), 0, "nobody is an administrator",
            "Name somebody in the local node's group \"admin\"."};
  }
  auto [place, group] = groupOfAdministrators(host.options());
  return findingAt(std::move(place), Severity::Warning, "nobody besides root is an administrator",
                   "Add somebody: \"gpasswd -a NAME " + group + "\".");
}

}  // namespace

std::vector<Finding> findingsOfAdministrators(const Host& host,
                                              const std::vector<Account>& accounts) {
  const auto local = localNode();
  const auto group = local ? local->recordByTypeAndName(record::Groups, "admin", {}) : nullptr;
  // A world need not speak of administrators.
  if (!group && host.machine() == nullptr) return {};
  std::string refused;
  bool isInAccessGroup = false;
  for (const auto& account : accounts) {
    if (!group || !account.record || account.userID == 0U) continue;
    if (!group->isMember(*account.record)) continue;
    const auto verdict = verdictOn(host.accounts(), account);
    // What can't be told is told of where its cause is looked for.
    if (verdict.allowed || verdict.isUndecidable()) return {};
    // The first is said of local accounts, the second of those of the network.
    const bool isLeftOut =
        verdict.rule == "not in gatehall-access" || verdict.decided == LoginRule::NoServiceAccess;
    if (!isLeftOut) isInAccessGroup = true;
    if (!refused.empty()) refused += ", ";
    refused.append(account.name).append(" (").append(verdict.rule).append(")");
  }
  if (refused.empty()) return {withoutAdministrator(host)};
  auto place = host.machine() != nullptr && !isInAccessGroup
                   ? placeOfGroup(host.options(), kAccessGroup)
                   : Finding{.file = host.worldFile().value_or("")};
  std::string remedy("Mend the account of one of them: gatehallctl can-log-in NAME says more.");
  if (!isInAccessGroup) {
    remedy.assign("Add one of them to ");
    remedy.append(host.machine() != nullptr ? "the group gatehall-access"
                                            : "/membership/gatehall/members");
    remedy.append("; until then only root gets in, if anybody.");
  }
  return {findingAt(std::move(place), Severity::Error,
                    "every administrator is shut out: " + refused, std::move(remedy))};
}

}  // namespace gatehall::ctl
