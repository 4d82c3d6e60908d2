#include "ctl/policy/Callers.h"

#include <cstdlib>
#include <fstream>
#include <optional>
#include <unistd.h>

#include "accounts/Accounts.h"
#include "accounts/Verdict.h"
#include "base/Ascii.h"
#include "ctl/compare/Workers.h"
#include "ctl/print/Json.h"
#include "gatehall/platform/Platform.h"

namespace gatehall::ctl {

namespace {

/// A user id in decimal; absent for other texts and for that which stands for nobody.
std::optional<std::uint32_t> userIDIn(const std::string& text) {
  if (!ascii::isNumber(text) || text.size() > 10) return std::nullopt;
  const auto number = std::stoull(text);
  constexpr std::uint64_t kNobody = 4294967295;
  return number < kNobody ? std::optional(static_cast<std::uint32_t>(number)) : std::nullopt;
}

/// What becomes of each there, in a list: {"name", "allowed", "isKnown"}.
std::string verdictsText(const Host::Source& machine, const std::set<std::uint32_t>& userIDs) {
  const Host host(machine, Trace::Keeps::LastOperation);
  auto list = Json::array();
  for (const auto userID : userIDs) {
    const auto meant = accountMeant(host.accounts(), std::to_string(userID));
    const auto verdict = verdictOn(host.accounts(), meant);
    const bool isFound = !meant.accounts.empty();
    list.push_back({{"name", isFound ? meant.accounts.front().name : meant.operand},
                    {"allowed", verdict.allowed},
                    {"isKnown", !verdict.isUndecidable() && (isFound || meant.away.empty())}});
  }
  return list.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

std::set<std::uint32_t> callers(const Host& host) {
  if (host.world() != nullptr) return {platform().process().effectiveUserID()};
  if (!host.options().root.empty()) return {};
  std::set<std::uint32_t> userIDs{getuid(), geteuid()};
  for (const auto* name : {"SUDO_UID", "PKEXEC_UID"}) {
    const char* text = std::getenv(name);
    if (const auto userID = userIDIn(text != nullptr ? text : "")) userIDs.insert(*userID);
  }
  std::string login;
  std::ifstream("/proc/self/loginuid") >> login;
  if (const auto userID = userIDIn(login)) userIDs.insert(*userID);
  return userIDs;
}

Refusal whyShutOut(const std::set<std::uint32_t>& userIDs, const Host::Source& before,
                   const Host::Source& after) {
  if (userIDs.empty()) return {};
  // The host is one of the whole process.
  const auto results = Workers{.task = [&](std::size_t task) {
                         return verdictsText(task == 0 ? before : after, userIDs);
                       }}.carryOut(2);
  const auto verdicts = [&results](std::size_t task) {
    auto list = Json::parse(results[task].content, nullptr, false);
    return list.is_array() ? std::move(list) : Json::array();
  };
  const auto were = verdicts(0);
  const auto are = verdicts(1);
  if (were.size() != userIDs.size() || are.size() != userIDs.size()) {
    return {"there is no telling whom it shuts out", true};
  }
  for (std::size_t each = 0; each < are.size(); ++each) {
    const auto& name = are[each]["name"].get_ref<const std::string&>();
    if (are[each]["isKnown"] == false) {
      return {"there is no telling whether it shuts you out: whether " + name +
                  " could log in can't be known now",
              true};
    }
    if (were[each]["allowed"] == true && are[each]["allowed"] == false) {
      return {"it shuts you out: " + name + " could no longer log in"};
    }
  }
  return {};
}

}  // namespace gatehall::ctl
