#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "accounts/AccountHost.h"
#include "accounts/Accounts.h"
#include "accounts/Verdict.h"
#include "explain/Chains.h"
#include "explain/Places.h"
#include "gatehall/base/Value.h"

namespace gatehall {

/// What stands behind a verdict.
struct Explanation {
  Place place{};        ///< of the setting, or of what makes the account nobody's
  std::string key{};    ///< of the setting that the rule asks: "DenyList"; "" where it asks none
  std::string entry{};  ///< of that list, which matched: a GUID or "*"; "" where none did
  /// From the list, or from the administrators' group, over groups to the account, by name.
  Strings chain{};

  /// What parental controls say besides; absent where they say nothing.
  struct Hours {
    bool areNow = false;           ///< whether the user may log in now
    std::optional<Date> change{};  ///< when that is over; absent: it isn't
  };
  std::optional<Hours> hours{};

  /// What a sentence says of it, without a full stop; "" where the rest says all.
  std::string text{};

  /// What this run can't know of it, a sentence each.
  Strings unknown{};
};

/// When the user of a verdict may log in beside what the rules say; absent: always, or it has none.
std::optional<Explanation::Hours> hoursOf(const Verdict& verdict);

/// Explains verdicts, of many accounts as of few: what they share is looked at once. For one
/// thread.
class Explainer {
 public:
  explicit Explainer(AccountHost host) : mHost(std::move(host)), mPlaces(mHost) {}

  /// Raises nothing of the host's: what can't be told is among what is unknown.
  Explanation explain(const Account& account, const Verdict& verdict);

 private:
  void explainRule(const Account& account, const Verdict& verdict, Explanation& found);
  void explainList(const Account& account, LoginRule rule, Explanation& found);
  void explainNobody(const Account& account, const Verdict& verdict, Explanation& found);
  void addUnknown(const Account& account, const Verdict& verdict, Explanation& found);
  Strings chainToAdministrator(const Account& account);
  Strings listOf(const std::string& key) const;
  const Chains& chainsOf(const std::string& key, const Strings& guids);
  Place placeOfAccessGroup();
  bool isLocal(const Account& account) const;

  const AccountHost mHost;
  Places mPlaces;
  std::map<std::string, Chains> mChains;  ///< by the list's key, or the group's GUID
  std::optional<bool> mLimitsAreOffered;
};

}  // namespace gatehall
