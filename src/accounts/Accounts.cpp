#include "accounts/Accounts.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "accounts/Nearest.h"
#include "gatehall/base/PlatformException.h"
#include "gatehall/directory/LocalNodeName.h"
#include "gatehall/directory/NodeConvenience.h"
#include "gatehall/directory/Queries.h"
#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/platform/Platform.h"
#include "gatehall/users/UserLookup.h"
#include "linux/records/AccountID.h"
#include "linux/records/NetworkNode.h"

namespace gatehall {

namespace {

std::string firstOf(DirectoryRecord& record, std::string_view kind) {
  const auto values = record.valuesForAttribute(kind);
  return values && !values->empty() ? values->front() : std::string();
}

Records usersWith(const std::shared_ptr<DirectoryNode>& node, std::string_view kind,
                  const std::string& value) {
  if (value.empty()) return {};
  auto description = equalTo({record::Users}, kind, {value}, CachedUser::desiredAttributes());
  // GUIDs are spelled in either case.
  if (kind == attribute::GUID) description.match = MatchType::EqualToIgnoringCase;
  auto found = queryResults(node, std::move(description));
  if (!found) throw PlatformException("the directory does not answer");
  return std::move(*found);
}

/// Those of the records that the layer takes for users when it finds all of them at once: usable
/// ones, of which a local one stands in the place of others.
Records usersAmong(const Records& records) {
  Records users;
  const auto list = cachedUserListForRecords(records, kNoUserID);
  for (const auto& user : *list) users.push_back(user->DirvoRecord());
  return users;
}

bool isAmong(const std::shared_ptr<DirectoryRecord>& record, const Records& records) {
  return std::ranges::find(records, record) != records.end();
}

/// Marks an account that another one of its user id, which the layer takes for the user, keeps from
/// being one.
void hideBehind(Account& account, const Account& other) {
  const auto local = localNodeName();
  const bool isLocal = local == other.node;
  if (!isLocal && local == account.node) return;  // it is no user for a reason of its own
  account.hidden = isLocal ? "hidden by a local account" : "hidden by another account";
  account.whyHidden = other.name;
  account.whyHidden.append(" of ").append(other.node).append(" has the same user id");
}

bool areSame(const Account& left, const Account& right) {
  return left.node == right.node && left.name == right.name && left.userID == right.userID &&
         left.guid == right.guid;
}

/// Of accounts of one user id, in the order of the directories, the one that the layer answers who
/// asks it for that user id; nullptr: none. Who shares but a name or a GUID with another one is
/// found by the user id all the same.
const Account* foundByUserID(const std::vector<Account*>& accounts, std::uint32_t userID) {
  Records records;
  for (const auto* each : accounts) records.push_back(each->record);
  const auto list = cachedUserListForRecords(records, static_cast<std::int32_t>(userID));
  const auto user = list->objectAtIndex(0);
  if (!user) return nullptr;
  const auto found = std::ranges::find(accounts, user->DirvoRecord(), &Account::record);
  return found != accounts.end() ? *found : nullptr;
}

/// Marks those of all accounts that others of them hide.
void markHidden(std::vector<Account>& accounts) {
  std::unordered_map<std::uint32_t, std::vector<Account*>> byUserID;
  byUserID.reserve(accounts.size());
  for (auto& account : accounts) {
    if (account.userID) byUserID[*account.userID].push_back(&account);
  }
  for (const auto& [userID, sharers] : byUserID) {
    if (sharers.size() < 2) continue;
    const auto* counts = foundByUserID(sharers, userID);
    for (auto* account : sharers) {
      if (counts != nullptr && !areSame(*account, *counts)) hideBehind(*account, *counts);
    }
  }
}

/// The same for one account, whatever it was found by.
void markIfHidden(Account& account) {
  if (!account.userID) return;
  std::vector<Account> sharers;
  for (auto& record :
       usersWith(searchNode(), attribute::UniqueID, std::to_string(*account.userID))) {
    sharers.push_back(accountOf(std::move(record)));
  }
  std::vector<Account*> all;
  for (auto& each : sharers) {
    if (each.userID == account.userID) all.push_back(&each);
  }
  if (all.size() < 2) return;
  const auto* counts = foundByUserID(all, *account.userID);
  if (counts != nullptr && !areSame(account, *counts)) hideBehind(account, *counts);
}

/// Puts those first that the layer takes for users among the accounts.
void putUsersFirst(std::vector<Account>& accounts) {
  Records records;
  for (const auto& each : accounts) records.push_back(each.record);
  const auto users = usersAmong(records);
  std::ranges::stable_partition(
      accounts, [&](const auto& account) { return isAmong(account.record, users); });
}

/// What the directory is asked for.
struct Question {
  std::string_view kind;
  std::string value;
};

Question questionOf(const Whom& whom) {
  auto text = whomText(whom);
  if (std::holds_alternative<std::uint32_t>(whom)) return {attribute::UniqueID, std::move(text)};
  if (std::holds_alternative<UUIDBytes>(whom)) return {attribute::GUID, std::move(text)};
  return {attribute::RecordName, std::move(text)};
}

/// Entries of network directories with that value that are no accounts here.
void addLeftOut(const AccountHost& host, const Question& question, Meant& meant) {
  for (const auto& node : networkNodes(host)) {
    if (node->whyUnreachable()) continue;
    try {
      for (auto& entry : node->leftOut(question.kind, question.value)) {
        meant.accounts.push_back({.name = std::move(entry.name),
                                  .longName = std::move(entry.fullName),
                                  .guid = std::move(entry.guid),
                                  .node = node->nodeName().value_or(""),
                                  .userID = entry.userID,
                                  .hidden = std::move(entry.rule),
                                  .whyHidden = std::move(entry.why)});
      }
    } catch (const PlatformException& failure) {
      // What is found without them stands; the log tells what may be missing.
      platform().log().diagnostic(failure.what());
    }
  }
}

}  // namespace

Account accountOf(std::shared_ptr<DirectoryRecord> record) {
  Account account{.name = firstOf(*record, attribute::RecordName),
                  .longName = firstOf(*record, attribute::FullName),
                  .guid = firstOf(*record, attribute::GUID),
                  .node = firstOf(*record, attribute::MetaNodeLocation)};
  account.userID = accountID(firstOf(*record, attribute::UniqueID));
  account.record = std::move(record);
  return account;
}

std::vector<Account> allAccounts(std::vector<MissingAccounts>* missing) {
  std::vector<Account> accounts;
  const auto addMissing = [&](const std::string& node, const std::string& why) {
    if (missing != nullptr) missing->push_back({.node = node, .why = node + why});
  };
  const auto search = searchNode();
  const auto names = search ? search->subnodeNames() : std::nullopt;
  for (const auto& name : names.value_or(Strings())) {
    try {
      const auto node = nodeWithName(name);
      auto records = node ? queryResults(node, equalTo({record::Users}, attribute::RecordName,
                                                       {std::string(attribute::AllRecords)},
                                                       CachedUser::desiredAttributes()))
                          : std::nullopt;
      if (!records) {
        addMissing(name, " can't be asked now: its accounts are missing");
        continue;
      }
      accounts.reserve(accounts.size() + records->size());
      for (auto& record : *records) accounts.push_back(accountOf(std::move(record)));
    } catch (const PlatformException& failure) {
      addMissing(name, std::string(": its accounts are missing: ") + failure.what());
    }
  }
  markHidden(accounts);
  return accounts;
}

Strings directoriesAway() {
  const auto node = searchNode();
  const auto covered = node ? node->subnodeNames() : std::nullopt;
  auto away = node ? node->unreachableSubnodeNames() : std::nullopt;
  if (!covered || !away) return {};
  std::erase_if(
      *away, [&](const auto& name) { return std::ranges::find(*covered, name) == covered->end(); });
  return std::move(*away);
}

namespace {

Meant accountMeant(const AccountHost& host, const Whom& whom, const std::string& operand,
                   Twins twins) {
  Meant meant{.operand = operand};
  const auto question = questionOf(whom);
  if (const auto* userID = std::get_if<std::uint32_t>(&whom)) meant.userID = *userID;
  meant.isByName = std::holds_alternative<std::string>(whom);
  try {
    for (auto& record : usersWith(searchNode(), question.kind, question.value)) {
      meant.accounts.push_back(accountOf(std::move(record)));
    }
    // Of several ids the first is the account's.
    std::erase_if(meant.accounts, [&](const auto& account) {
      return meant.userID && account.userID != meant.userID;
    });
    if (meant.userID) {
      markHidden(meant.accounts);
    } else {
      for (auto& account : meant.accounts) markIfHidden(account);
    }
    if (meant.accounts.size() > 1) putUsersFirst(meant.accounts);
    // What a network directory has of the same name or id, a local account hides.
    const bool isLocal = !meant.accounts.empty() && meant.accounts[0].node == localNodeName();
    if (meant.accounts.empty() || (isLocal && twins == Twins::Sought)) {
      addLeftOut(host, question, meant);
    }
    if (!meant.accounts.empty()) return meant;
    meant.away = directoriesAway();
    if (meant.userID) {
      for (auto& record : usersWith(searchNode(), attribute::RecordName, operand)) {
        meant.userIDOfName = accountOf(std::move(record)).userID;
        if (meant.userIDOfName) break;
      }
    }
  } catch (const PlatformException& failure) {
    meant.undecidable = failure.what();
  }
  return meant;
}

}  // namespace

Meant accountMeant(const AccountHost& host, const std::string& text) {
  auto meant = accountMeant(host, whomMeant(text), text, Twins::Sought);
  addNearest(host, meant);
  return meant;
}

Meant accountMeantBy(const AccountHost& host, const Whom& whom, Twins twins) {
  return accountMeant(host, whom, whomText(whom), twins);
}

void addNearest(const AccountHost& host, Meant& meant) {
  if (!meant.accounts.empty() || !meant.isByName) return;
  meant.nearest = nearestLoginNames(host, meant.operand);
}

}  // namespace gatehall
