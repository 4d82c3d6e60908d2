#include "linux/nss/Sssd.h"

#include <chrono>
#include <cstddef>

#include "gatehall/base/PlatformException.h"
#include "linux/bus/SystemBus.h"

namespace gatehall::nss {

namespace {

constexpr const char* kService = "org.freedesktop.sssd.infopipe";

/// Nobody has more.
constexpr std::size_t kMostDomains = 64;

/// The one value that a method answers; null for none, and for several.
const Value* answerOf(const Array& values) {
  return values.size() == 1 ? &values.front() : nullptr;
}

bool isOffline(SystemBus& bus, const std::string& domain) {
  const auto values =
      bus.call({kService, domain, "org.freedesktop.sssd.infopipe.Domains.Domain", "IsOnline"});
  const auto* answer = answerOf(values);
  const auto isOnline = answer != nullptr ? answer->booleanValue() : std::nullopt;
  if (!isOnline) throw PlatformException("an answer that is none");
  return !*isOnline;
}

}  // namespace

std::optional<bool> isSssdOffline(const HostOptions& options) {
  try {
    SystemBus bus(options, std::chrono::steady_clock::now() + options.callTimeout);
    const auto values =
        bus.call({kService, "/org/freedesktop/sssd/infopipe", kService, "ListDomains"});
    const auto* answer = answerOf(values);
    const auto* domains = answer != nullptr ? answer->array() : nullptr;
    if (domains == nullptr || domains->size() > kMostDomains) return std::nullopt;
    bool isAnyOffline = false;
    for (const auto& each : *domains) {
      const auto* path = each.string();
      if (path == nullptr) return std::nullopt;
      isAnyOffline = isOffline(bus, *path) || isAnyOffline;
    }
    return isAnyOffline;
  } catch (const PlatformException&) {
    return std::nullopt;  // what can't be known is not told
  }
}

}  // namespace gatehall::nss
