#include "accounts/Verdict.h"

#include <ranges>
#include <string_view>
#include <utility>

#include "gatehall/access/UserAccess.h"
#include "gatehall/base/PlatformException.h"
#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/platform/MembershipService.h"
#include "gatehall/platform/Platform.h"
#include "gatehall/users/AttributeValue.h"
#include "gatehall/users/AuthenticationAuthority.h"
#include "portable/NameBasedUUID.h"

namespace gatehall {

namespace {

Verdict nobody(std::string rule, std::string reason) {
  return {.rule = std::move(rule), .reason = std::move(reason)};
}

Verdict undecidable(std::string reason) {
  return nobody(std::string(kUndecidable), std::move(reason));
}

/// Why an account with these attributes is none to log in with, in the order in which
/// CachedUser::attributesAllowed looks.
Verdict whyUnusable(const Dictionary& attributes) {
  const auto contains = [&](std::string_view kind, std::string_view text) {
    const auto entry = attributes.find(kind);
    return entry != attributes.end() && doesAttrContainString(entry->second, text);
  };
  if (contains(attribute::UserShell, "/usr/bin/false")) {
    return nobody("no shell", "its shell lets nobody in");
  }
  if (contains(attribute::AuthenticationAuthority, authority::ExpiredUser)) {
    return nobody("expired", "the account is past its end");
  }
  if (contains(attribute::AuthenticationAuthority, authority::DisabledUser)) {
    return nobody("locked", "the account is locked");
  }
  if (contains(attribute::Password, "*")) {
    return nobody("no password", "it has no password that anybody could give");
  }
  if (!attributes.contains(attribute::UniqueID)) {
    return nobody("no user id", "the directory gives it no user id");
  }
  return nobody("no name", "the directory gives it no login name");
}

/// Why it isn't known whether the service access list holds a user whom the layer takes for refused
/// then; nothing where it is known. The log says what the membership service met with.
std::optional<std::string> whyAccessIsUnknown(const AccountHost& host, const CachedUser& user) {
  auto& membership = platform().membership();
  Identifier identifier{};
  const auto guid = user.getGUID();
  const bool isByGUID = guid && membership.guidToIdentifier(*guid, identifier) == 0;
  const int converted = isByGUID && identifier != Identifier{}
                            ? 0
                            : membership.userIDToIdentifier(user.getUid(), identifier);
  bool isMember = false;
  const int status = converted != 0
                         ? converted
                         : membership.checkServiceMembership(identifier, "gatehall", isMember);
  if (status == 0 || status == MembershipService::kNoAccessList) return std::nullopt;
  std::string why("whether gatehall-access holds this account can't be told");
  const auto question = "the access list of gatehall for " + uuidText(identifier) + ": ";
  if (host.logged == nullptr) return why;
  const auto entries = host.logged->entries();
  for (const auto& entry : entries | std::views::reverse) {
    if (entry.text.starts_with(question)) {
      return why.append(": ").append(entry.text, question.size());
    }
  }
  return why;
}

Verdict decided(const AccountHost& host, const Account& account) {
  if (!account.record) return nobody(account.hidden, account.whyHidden);
  const auto user = CachedUser::cachedUserWithDirvoRecord(account.record);
  if (!user) {
    const auto details = account.record->recordDetails({});
    return details ? whyUnusable(*details) : undecidable(account.node + " does not answer");
  }
  // The layer leaves these out of every list.
  if (user->isLocalUser() && !user->hasSACLAccess()) {
    if (auto why = whyAccessIsUnknown(host, *user)) return undecidable(std::move(*why));
    return nobody("not in gatehall-access", "the service access list leaves it out");
  }
  if (!account.hidden.empty()) return nobody(account.hidden, account.whyHidden);
  try {
    const auto decision = host.access()->decideLogin(*user);
    if (decision.rule == LoginRule::NoServiceAccess) {
      if (auto why = whyAccessIsUnknown(host, *user)) {
        auto verdict = undecidable(std::move(*why));
        verdict.user = user;
        return verdict;
      }
    }
    return {.allowed = decision.allowed(),
            .rule = description(decision.rule),
            .source = decision.source,
            .user = user,
            .decided = decision.rule};
  } catch (const PlatformException& failure) {
    auto verdict = undecidable(failure.what());
    verdict.user = user;
    return verdict;
  }
}

}  // namespace

Verdict verdictOn(const AccountHost& host, const Account& account) {
  try {
    return decided(host, account);
  } catch (const PlatformException& failure) {
    return undecidable(failure.what());
  }
}

Verdict verdictOn(const AccountHost& host, const Meant& meant) {
  if (!meant.undecidable.empty()) return undecidable(meant.undecidable);
  if (!meant.accounts.empty()) return verdictOn(host, meant.accounts.front());
  const auto called = meant.userID ? "user id " + meant.operand : meant.operand;
  if (meant.userIDOfName) {
    return nobody("no such account", "no directory has " + called + "; there is a login name " +
                                         meant.operand + ": ask by user id " +
                                         std::to_string(*meant.userIDOfName));
  }
  if (meant.away.empty()) return nobody("no such account", "no directory has " + called);
  std::string nodes;
  for (const auto& each : meant.away) nodes += (nodes.empty() ? "" : ", ") + each;
  return nobody("directory away", called + " is in no directory that answers; away: " + nodes);
}

}  // namespace gatehall
