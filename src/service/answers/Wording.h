#pragma once

#include <optional>
#include <string>

#include "accounts/Verdict.h"
#include "explain/Explainer.h"
#include "gatehall/base/Value.h"
#include "portable/formats/MessageCatalogue.h"

namespace gatehall::service {

/// A verdict's rule in a language; the rule itself where the catalogue has none. From any thread.
std::string ruleText(const std::string& rule, const MessageCatalogue& language);

/// What a person is told: why nobody may log in with the account; of who may, when login hours
/// begin again; "" when there is nothing to be told. No more than the rule is told of a refusal,
/// and of what can't be told no reason. Times are the machine's. From any thread.
std::string sentenceFor(const Verdict& verdict, const std::optional<Explanation::Hours>& hours,
                        Date now, const MessageCatalogue& language);

}  // namespace gatehall::service
