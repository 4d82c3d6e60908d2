#include "explain/Explainer.h"

#include <algorithm>
#include <unistd.h>
#include <utility>

#include "gatehall/access/LoginList.h"
#include "gatehall/access/USPrefs.h"
#include "gatehall/base/PlatformException.h"
#include "gatehall/directory/LocalNodeName.h"
#include "gatehall/directory/NodeConvenience.h"
#include "gatehall/directory/RecordConvenience.h"
#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/platform/Platform.h"
#include "linux/accounts/AccountFiles.h"
#include "linux/files/FaultLog.h"
#include "linux/hours/SessionLimits.h"
#include "linux/local/Settings.h"

namespace gatehall {

namespace {

constexpr const char* kAllowList = "AllowList";
constexpr const char* kDenyList = "DenyList";
constexpr const char* kLocalLogin = "LocalUserLoginEnabled";
constexpr const char* kAccessGroup = "gatehall-access";
constexpr const char* kAdminGroup = "admin";

}  // namespace

std::optional<Explanation::Hours> hoursOf(const Verdict& verdict) {
  if (!verdict.user || !verdict.user->isManaged()) return std::nullopt;
  return Explanation::Hours{verdict.user->kinwatchAllowsLogin(),
                            verdict.user->kinwatchNextCurfewTime()};
}

Explanation Explainer::explain(const Account& account, const Verdict& verdict) {
  Explanation found;
  try {
    if (verdict.decided) {
      explainRule(account, verdict, found);
    } else if (!verdict.isUndecidable()) {
      explainNobody(account, verdict, found);
    }
    found.hours = hoursOf(verdict);
    addUnknown(account, verdict, found);
  } catch (const PlatformException& failure) {
    found.unknown.emplace_back(failure.what());
  }
  return found;
}

void Explainer::explainRule(const Account& account, const Verdict& verdict, Explanation& found) {
  switch (*verdict.decided) {
    case LoginRule::NoServiceAccess:
      found.place = placeOfAccessGroup();
      found.text.assign(kAccessGroup).append(" leaves this account out");
      return;
    case LoginRule::Administrator:
      found.chain = chainToAdministrator(account);
      return;
    case LoginRule::LocalLoginEnabled:
    case LoginRule::LocalLoginDisabled:
      found.key = kLocalLogin;
      if (verdict.source == PreferenceSource::Default) {
        found.text = found.key + " isn't set: local users may log in";
      }
      break;
    case LoginRule::NetworkAway:
      found.key = kDenyList;
      found.text = "there is a DenyList, and no network directory answers to hold it against";
      break;
    case LoginRule::EveryoneDenied:
    case LoginRule::DeniedByGUID:
      found.key = kDenyList;
      explainList(account, *verdict.decided, found);
      break;
    case LoginRule::NoAllowList:
      found.key = kAllowList;
      found.text = USPrefs::allowedList() ? "AllowList names nobody: it counts as none"
                                          : "AllowList isn't set: network users may log in";
      break;
    case LoginRule::EveryoneAllowed:
    case LoginRule::AllowedByGUID:
      found.key = kAllowList;
      explainList(account, *verdict.decided, found);
      break;
    case LoginRule::NotInAllowList:
      found.key = kAllowList;
      found.text = "AllowList holds neither this account nor a group of it";
      break;
  }
  if (verdict.source != PreferenceSource::Default) found.place = mPlaces.ofSetting(found.key);
}

void Explainer::explainList(const Account& account, LoginRule rule, Explanation& found) {
  if (rule == LoginRule::EveryoneDenied || rule == LoginRule::EveryoneAllowed) {
    found.entry = kEveryone;
    found.text = found.key + " holds \"*\", which stands for every network user";
    return;
  }
  const auto chain = chainsOf(found.key, listOf(found.key)).to(account.guid);
  if (!chain) return;
  found.entry = chain->entry;
  found.chain = {found.key};
  found.chain.insert(found.chain.end(), chain->names.begin(), chain->names.end());
}

void Explainer::explainNobody(const Account& account, const Verdict& verdict, Explanation& found) {
  found.text = verdict.reason;
  if (verdict.rule == "not in gatehall-access") {
    found.place = placeOfAccessGroup();
    return;
  }
  if (!isLocal(account) || account.name.empty()) return;
  if (verdict.rule == "no shell") {
    if (const auto line = mPlaces.ofName(accountFiles::kPasswd, account.name)) {
      found.place = line->place;
      if (!line->shell.empty()) found.text = "its shell " + line->shell + " lets nobody in";
      return;
    }
  }
  const auto shadow = mPlaces.ofName(accountFiles::kShadow, account.name);
  const auto userRecord = mPlaces.ofUserRecord(account.name);
  // A user record can lock or end an account whose password stands in the shadow file.
  const bool isByShadow = shadow && (userRecord.file.empty() || shadow->isLocked);
  const bool isOfPassword =
      verdict.rule == "locked" || verdict.rule == "expired" || verdict.rule == "no password";
  if (isOfPassword && isByShadow) {
    found.place = shadow->place;
  } else if (!userRecord.file.empty()) {
    found.place = userRecord;
  } else if (const auto line = mPlaces.ofName(accountFiles::kPasswd, account.name)) {
    found.place = line->place;
  }
}

void Explainer::addUnknown(const Account& account, const Verdict& verdict, Explanation& found) {
  if (mHost.machine == nullptr || !isLocal(account) || verdict.isUndecidable()) return;
  const auto line = mPlaces.ofName(accountFiles::kPasswd, account.name);
  if (verdict.user && line && !mPlaces.isReadable(accountFiles::kShadow)) {
    found.unknown.emplace_back(
        "whether the account is locked or past its end, and whether its password is empty, isn't "
        "known without rights: /etc/shadow can't be read");
  }
  if (!mLimitsAreOffered) {
    FaultLog faults(platform().log());
    mLimitsAreOffered = SessionLimits(*mHost.machine, faults).areOffered();
  }
  if (!verdict.user || !*mLimitsAreOffered) return;
  if (!mHost.machine->root.empty()) {
    found.unknown.emplace_back("login hours aren't known of a machine that doesn't run");
  } else if (!mHost.seesLoginHours && geteuid() != 0 && account.userID != geteuid()) {
    found.unknown.emplace_back("login hours of others aren't told without rights");
  }
}

Strings Explainer::chainToAdministrator(const Account& account) {
  Strings chain{kAdminGroup};
  const auto local = localNode();
  const auto group = local ? local->recordByTypeAndName(record::Groups, kAdminGroup, {}) : nullptr;
  const auto guid = group ? getGUID(*group) : std::nullopt;
  if (!local) return {kAdminGroup, account.name};
  if (mHost.machine != nullptr) {
    // The machine's administrators are those of other groups.
    FaultLog faults(platform().log());
    for (const auto& name : local::Settings::read(*mHost.machine, faults).adminGroups) {
      const auto member = local->recordByTypeAndName(record::Groups, name, {});
      if (!member || !account.record || !member->isMember(*account.record)) continue;
      if (name != kAdminGroup) chain.push_back(name);
      break;
    }
  } else if (guid) {
    if (const auto found = chainsOf(*guid, {*guid}).to(account.guid)) return found->names;
  }
  chain.push_back(account.name);
  return chain;
}

Strings Explainer::listOf(const std::string& key) const {
  const auto list = key == kDenyList ? USPrefs::deniedList() : USPrefs::allowedList();
  Strings texts;
  for (const auto& entry : list.value_or(Array())) {
    if (const auto* text = entry.string()) texts.push_back(*text);
  }
  return texts;
}

const Chains& Explainer::chainsOf(const std::string& key, const Strings& guids) {
  const auto known = mChains.find(key);
  return known != mChains.end() ? known->second : mChains.emplace(key, Chains(guids)).first->second;
}

Place Explainer::placeOfAccessGroup() {
  if (mHost.machine == nullptr) return mPlaces.ofWorld();
  const auto line = mPlaces.ofName(accountFiles::kGroup, kAccessGroup);
  return line ? line->place : Place();
}

bool Explainer::isLocal(const Account& account) const { return localNodeName() == account.node; }

}  // namespace gatehall
