#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "accounts/AccountHost.h"
#include "accounts/Whom.h"
#include "gatehall/base/Value.h"
#include "gatehall/platform/DirectoryService.h"

namespace gatehall {

/// An account of some directory, and what tells it from others: empty where it lacks that.
struct Account {
  std::shared_ptr<DirectoryRecord> record{};  ///< nullptr: the host leaves it out
  std::string name{};                         ///< the login name
  std::string longName{};
  std::string guid{};
  std::string node{};
  std::optional<std::uint32_t> userID{};

  /// Why the machine has no such user although a directory has the account, in a few words and in a
  /// sentence: another one counts in its place, or the host leaves it out. Empty: it has.
  std::string hidden{};
  std::string whyHidden{};
};

/// The account that a record describes. May raise PlatformException.
Account accountOf(std::shared_ptr<DirectoryRecord> record);

/// A directory whose accounts can't be listed now.
struct MissingAccounts {
  std::string node;
  std::string why;  ///< a sentence
};

/// Every account that a directory lists, in the order of the directories. One that can't be asked
/// has none, and is added to missing.
std::vector<Account> allAccounts(std::vector<MissingAccounts>* missing = nullptr);

/// The names of the directories that are asked for accounts and can't be now. May raise
/// PlatformException.
Strings directoriesAway();

/// Whom a text means.
struct Meant {
  std::string operand;              ///< the text
  std::vector<Account> accounts{};  ///< the first is the one that counts; none: nobody
  Strings nearest{};                ///< of nobody: login names that come near
  Strings away{};                   ///< of nobody: directories that can't be asked now
  std::string undecidable{};        ///< why it can't be told, of somebody, too; "": it can

  bool isByName = false;  ///< the text is a login name

  /// The user id, where the text is one.
  std::optional<std::uint32_t> userID{};

  /// The user id of whose login name it is, where nobody has it for a user id.
  std::optional<std::uint32_t> userIDOfName{};
};

/// Whom it means, as whomMeant reads it. Of several the first is the one that the login rules know
/// by it. Raises MeansNobody, and nothing of the host's.
Meant accountMeant(const AccountHost& host, const std::string& text);

/// Whether network directories are asked whom they have of a local account's name or id.
enum class Twins { Sought, Ignored };

/// The same of who is meant by that, which is named by its text then. No names that come near are
/// looked for; without twins a local account is found whatever becomes of directories. Raises
/// nothing of the host's.
Meant accountMeantBy(const AccountHost& host, const Whom& whom, Twins twins = Twins::Sought);

/// Looks for login names that come near, where the text is a name that nobody has. Raises nothing
/// of the host's.
void addNearest(const AccountHost& host, Meant& meant);

}  // namespace gatehall
