#include "following/FollowedList.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "listing/Gatehalld.h"

namespace gatehall {

namespace {

constexpr const char* kProperties = "org.freedesktop.DBus.Properties";

/// The service may have to be started first.
constexpr std::chrono::seconds kLongestAnswer{60};

constexpr std::chrono::milliseconds kFirstPause{1000};
constexpr std::chrono::milliseconds kLongestPause{60000};

/// So often a list may change while it is read, and so many signals may come meanwhile.
constexpr int kMostOtherStates = 10;
constexpr std::size_t kMostUnheard = 64;

constexpr const char* kUnexpected = "its answer is of a type that was not expected";

std::string ruleOf(const char* interface, const char* member) {
  return std::string("type='signal',path='") + gatehalld::kPath + "',interface='" + interface +
         "',member='" + member + "'";
}

const std::int64_t* integer(const Value& value) {
  return std::get_if<std::int64_t>(&value.storage());
}

const bool* flag(const Value& value) { return std::get_if<bool>(&value.storage()); }

/// What a D-Bus error says of the service: nobody has its name, be it that it can't be started; any
/// other comes in place of an answer.
ListFault faultOf(std::string_view error) {
  constexpr std::string_view kSpawn = "org.freedesktop.DBus.Error.Spawn.";
  const bool isAway = error == "org.freedesktop.DBus.Error.ServiceUnknown" ||
                      error == "org.freedesktop.DBus.Error.NameHasNoOwner" ||
                      error.starts_with(kSpawn);
  return isAway ? ListFault::ServiceAway : ListFault::NoAnswer;
}

/// The serial of a signal or an answer; none of a service begins below 0.
std::optional<std::uint64_t> serialIn(const Array& values, std::size_t index) {
  const auto* number = index < values.size() ? integer(values[index]) : nullptr;
  if (number == nullptr || *number < 0) return std::nullopt;
  return static_cast<std::uint64_t>(*number);
}

}  // namespace

FollowedList::FollowedList(MainLoop& runLoop, EventLoop& events, const HostOptions& options,
                           Log& log, ListFollower follower)
    : mRunLoop(runLoop),
      mBus(runLoop, events, options, log),
      mFollower(std::move(follower)),
      mPause(kFirstPause) {
  mBus.listen(gatehalld::kName, ruleOf(gatehalld::kInterface, "UsersChanged"),
              [this](const BusSignal& signal) { heard(signal.values); });
  mBus.listen(gatehalld::kName, ruleOf(kProperties, "PropertiesChanged"),
              [this](const BusSignal& signal) { propertiesChanged(signal.values); });
  mBus.follow(gatehalld::kName, [this](bool isThere) { came(isThere); });
  mBus.start([this](bool) { begin(); }, [this](const std::string& why) { busWent(why); });
}

void FollowedList::begin() {
  ++mTurn;
  mOtherStates = 0;
  mUnheard.clear();
  ask(gatehalld::kInterface, "Watch", {}, &FollowedList::watching);
}

void FollowedList::ask(const char* interface, const char* member, const BusArguments& arguments,
                       Then then) {
  mIsAsking = true;
  mBus.call({gatehalld::kName, gatehalld::kPath, interface, member}, arguments, kLongestAnswer,
            [this, turn = mTurn, then](const BusAnswer& answer) {
              if (turn != mTurn) return;
              mIsAsking = false;
              if (answer.error.empty()) {
                (this->*then)(answer.values);
              } else {
                lose(faultOf(answer.error), answer.text.empty() ? answer.error : answer.text);
              }
            });
}

void FollowedList::watching(const Array& /*serial*/) {
  ask(kProperties, "GetAll", {gatehalld::kInterface}, &FollowedList::propertiesRead);
}

void FollowedList::propertiesRead(const Array& answer) {
  if (answer.size() == 1) take(answer.front());
  if (mList && !mReadsAnew) {
    catchUp();
  } else {
    readPages();
  }
}

void FollowedList::readPages() {
  mPages = ListCopy();
  ask(gatehalld::kInterface, "ListUsers", {std::uint32_t{0}, std::uint32_t{0}},
      &FollowedList::pageRead);
}

void FollowedList::pageRead(const Array& page) {
  switch (mPages.add(page)) {
    case ListCopy::Page::Unreadable:
      lose(ListFault::NotUnderstood, kUnexpected);
      return;
    case ListCopy::Page::OfOtherState:
      if (++mOtherStates > kMostOtherStates) {
        lose(ListFault::NoAnswer, "the list changes while it is read");
      } else {
        readPages();
      }
      return;
    case ListCopy::Page::More:
      ask(gatehalld::kInterface, "ListUsers",
          {static_cast<std::uint32_t>(mPages.users().size()), std::uint32_t{0}},
          &FollowedList::pageRead);
      return;
    case ListCopy::Page::Last:
      break;
  }
  mPause = kFirstPause;
  mReadsAnew = false;
  mOtherStates = 0;
  auto before = std::exchange(mList, std::move(mPages));
  if (std::exchange(mIsGone, false)) mFollower.back(false);
  if (before) {
    tell(changesBetween(before->users(), mList->users()));
  } else {
    mFollower.list(mList->users());
  }
  goOn();
}

void FollowedList::catchUp() {
  ask(gatehalld::kInterface, "ListChanges", {mList->serial()}, &FollowedList::changesRead);
}

void FollowedList::changesRead(const Array& answer) {
  const auto serial = serialIn(answer, 0);
  const auto* isComplete = answer.size() == 3 ? flag(answer[1]) : nullptr;
  if (!serial || isComplete == nullptr) {
    lose(ListFault::NotUnderstood, kUnexpected);
    return;
  }
  const auto changes = *isComplete ? mList->apply(*serial, answer[2]) : std::nullopt;
  if (!changes) {
    readPages();
    return;
  }
  mPause = kFirstPause;
  if (std::exchange(mIsGone, false)) mFollower.back(true);
  tell(*changes);
  goOn();
}

void FollowedList::heard(const Array& signal) {
  if (mIsAsking) {
    // The next one won't be for what the list has then, so that it catches up.
    if (mUnheard.size() == kMostUnheard) mUnheard.erase(mUnheard.begin());
    mUnheard.push_back(signal);
    return;
  }
  // While the service is gone there is nothing that a signal could be for.
  if (mIsGone || !mList) return;
  const auto since = serialIn(signal, 0);
  const auto serial = serialIn(signal, 1);
  const auto* isComplete = signal.size() == 4 ? flag(signal[2]) : nullptr;
  if (!since || !serial || isComplete == nullptr) return;
  if (!*isComplete) {
    // It may have been the last one: the service watches for nobody who didn't answer it.
    mReadsAnew = true;
    begin();
    return;
  }
  if (*serial <= mList->serial()) return;
  const auto changes = *since == mList->serial() ? mList->apply(*serial, signal[3]) : std::nullopt;
  if (changes) {
    tell(*changes);
  } else {
    catchUp();
  }
}

/// Hears what came while an answer was waited for.
void FollowedList::goOn() {
  for (const auto& signal : std::exchange(mUnheard, {})) heard(signal);
}

void FollowedList::tell(const std::vector<ListChange>& changes) {
  if (!changes.empty()) mFollower.changed(changes, mList->users());
}

void FollowedList::propertiesChanged(const Array& signal) {
  if (signal.size() != 3 || signal[0] != Value(gatehalld::kInterface)) return;
  // The service sends the values along; what comes without one stays as it was.
  take(signal[1]);
}

void FollowedList::take(const Value& properties) {
  const auto* entries = properties.dictionary();
  if (entries == nullptr) return;
  auto network = mNetwork.value_or(ServiceNetwork());
  for (const auto& [name, value] : *entries) {
    if (name == "HasParentNetwork" && flag(value) != nullptr) {
      network.hasParentNetwork = *flag(value);
    } else if (name == "ParentNetworkExists" && flag(value) != nullptr) {
      network.parentNetworkExists = *flag(value);
    } else if (name == "NetworkStatus" && integer(value) != nullptr) {
      network.status = static_cast<std::int32_t>(*integer(value));
    }
  }
  if (std::exchange(mNetwork, network) != network) mFollower.network(network);
}

void FollowedList::came(bool isThere) {
  if (!isThere) {
    miss(ListFault::ServiceAway, "it ended");
    begin();
  } else if (!mIsAsking && mIsGone) {
    begin();
  }
}

/// Once it is back, it is begun anew.
void FollowedList::busWent(const std::string& why) {
  miss(ListFault::BusAway, "the system bus is away: " + why);
}

/// Says that the service doesn't answer, and waits for nothing that was asked of it.
void FollowedList::miss(ListFault fault, const std::string& why) {
  ++mTurn;
  mIsAsking = false;
  if (!std::exchange(mIsGone, true)) mFollower.gone(fault, why);
}

/// Asks the service, which doesn't answer, again after a while.
void FollowedList::lose(ListFault fault, const std::string& why) {
  miss(fault, why);
  mRunLoop.performAfterDelay(std::chrono::duration<double>(mPause).count(), [this, turn = mTurn] {
    if (turn == mTurn) begin();
  });
  mPause = std::min(mPause * 2, kLongestPause);
}

}  // namespace gatehall
