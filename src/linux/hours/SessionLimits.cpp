#include "linux/hours/SessionLimits.h"

#include <string_view>
#include <unistd.h>
#include <utility>
#include <variant>

#include "gatehall/base/PlatformException.h"
#include "linux/bus/SystemBus.h"
#include "linux/files/HostPath.h"
#include "linux/hours/AccountsServiceUser.h"

namespace gatehall {

namespace {

using accountsService::kName;
using accountsService::kPath;
using accountsService::kSessionLimits;
using accountsService::kUserPath;

constexpr const char* kInstalled =
    "/usr/share/accountsservice/interfaces/com.endlessm.ParentalControls.SessionLimits.xml";

constexpr std::string_view kDenied = "org.freedesktop.Accounts.Error.PermissionDenied";

constexpr std::int64_t kNoLimit = 0;
constexpr std::int64_t kDailySchedule = 1;

/// Long enough for a list whose users are asked about one after another, and over when a list is
/// built anew for the service that came back.
constexpr std::chrono::milliseconds kRest{900};

[[noreturn]] void failUnexpected(const char* member) {
  throw PlatformException(std::string("Unable to ask ") + kName + " for " + member +
                          ": an answer of a type that was not expected");
}

/// Also has the service put the users' objects on the bus.
std::unordered_set<std::uint32_t> listedUsers(SystemBus& bus) {
  const auto values = bus.call({kName, kPath, kName, "ListCachedUsers"});
  const auto* paths = values.size() == 1 ? values.front().array() : nullptr;
  if (paths == nullptr) failUnexpected("ListCachedUsers");
  std::unordered_set<std::uint32_t> users;
  for (const auto& each : *paths) {
    const auto* path = each.string();
    if (path == nullptr) failUnexpected("ListCachedUsers");
    if (const auto userID = accountsService::userOf(*path)) users.insert(*userID);
  }
  return users;
}

std::optional<std::int64_t> wholeNumber(const Value& value) {
  const auto* number = std::get_if<std::int64_t>(&value.storage());
  return number == nullptr ? std::nullopt : std::optional(*number);
}

std::optional<std::int64_t> limitType(const Dictionary& properties) {
  const auto found = properties.find("LimitType");
  return found == properties.end() ? std::nullopt : wholeNumber(found->second);
}

LoginHours dailySchedule(const Dictionary& properties) {
  const auto found = properties.find("DailySchedule");
  const auto* pair = found == properties.end() ? nullptr : found->second.array();
  if (pair == nullptr || pair->size() != 2) return LoginHours::never();
  const auto start = wholeNumber(pair->front());
  const auto end = wholeNumber(pair->back());
  return start && end ? LoginHours(*start, *end) : LoginHours::never();
}

/// The account may have gone since it was listed.
bool isGone(const BusError& error) {
  return error.name() == "org.freedesktop.DBus.Error.UnknownObject" ||
         error.name() == "org.freedesktop.DBus.Error.UnknownMethod";
}

}  // namespace

SessionLimits::SessionLimits(HostOptions options, FaultLog& faults)
    : mOptions(std::move(options)), mFaults(faults) {}

bool SessionLimits::areOffered() const {
  return mOptions.sessionLimits && access(hostPath(mOptions, kInstalled).c_str(), F_OK) == 0;
}

std::unordered_set<std::uint32_t> SessionLimits::limited(
    const std::unordered_set<std::uint32_t>& userIDs) {
  std::unordered_set<std::uint32_t> found;
  if (!areOffered()) return found;
  try {
    ask([&](SystemBus& bus) {
      bool isDenied = false;
      for (const auto userID : listedUsers(bus)) {
        if (!userIDs.contains(userID) || (isDenied && userID != geteuid())) continue;
        try {
          if (askHours(bus, userID)) found.insert(userID);
        } catch (const BusError& error) {
          if (error.name() != kDenied) throw;
          isDenied = true;
        }
      }
    });
  } catch (const PlatformException& error) {
    mFaults.report(kSessionLimits, error.what());
  }
  return found;
}

std::optional<LoginHours> SessionLimits::hours(std::uint32_t userID) {
  std::optional<LoginHours> found;
  if (!areOffered()) return found;
  ask([&](SystemBus& bus) {
    if (listedUsers(bus).contains(userID)) found = askHours(bus, userID);
  });
  return found;
}

std::optional<LoginHours> SessionLimits::askHours(SystemBus& bus, std::uint32_t userID) {
  const auto path = std::string(kUserPath) + std::to_string(userID);
  Array values;
  try {
    values = bus.call({kName, path, "org.freedesktop.DBus.Properties", "GetAll"}, {kSessionLimits});
  } catch (const BusError& error) {
    if (!isGone(error)) throw;
    return std::nullopt;
  }
  const auto* properties = values.size() == 1 ? values.front().dictionary() : nullptr;
  if (properties == nullptr) failUnexpected("GetAll");
  const auto type = limitType(*properties);
  if (type == kNoLimit) return std::nullopt;
  const auto hours = type == kDailySchedule ? dailySchedule(*properties) : LoginHours::never();
  if (hours == LoginHours::never()) {
    mFaults.report(kSessionLimits,
                   "the limit of user " + std::to_string(userID) + " can't be read");
  }
  return hours;
}

void SessionLimits::ask(const std::function<void(SystemBus&)>& question) {
  {
    const std::scoped_lock lock(mMutex);
    if (SteadyClock::now() < mAskAgain) throw PlatformException(mFailure);
  }
  const auto limit = SteadyClock::now() + mOptions.callTimeout;
  try {
    SystemBus bus(mOptions, limit);
    question(bus);
  } catch (const PlatformException& error) {
    if (SteadyClock::now() >= limit) {
      const std::scoped_lock lock(mMutex);
      mAskAgain = SteadyClock::now() + kRest;
      mFailure = error.what();
    }
    throw;
  }
}

}  // namespace gatehall
