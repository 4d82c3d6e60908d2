#pragma once

#include "accounts/Accounts.h"
#include "accounts/Verdict.h"
#include "explain/Explainer.h"
#include "explain/Properties.h"

namespace gatehall {

/// What there is to say of one who was asked about, from the one who is meant to what is unknown.
struct Explained {
  Meant meant{};
  Account account{};  ///< empty when nobody is meant
  Verdict verdict{};
  Explanation explanation{};
};

/// Asks all there is to ask about the one who is meant. Raises nothing of the host's.
Explained explained(const AccountHost& host, Explainer& explainer, Meant meant);

/// "uid", "found", "allowed", "rule", "source", "name", "longName", "guid", "node", "reason",
/// "file", "line", "key", "entry", "chain", "hours" ("allowedNow", "until"), "unknown", "others",
/// "nearest".
Properties propertiesOf(const Explained& each);

/// The accounts that are meant besides, each "uid", "name", "longName", "guid", "node", "reason".
std::vector<Properties> othersOf(const Meant& meant);

}  // namespace gatehall
