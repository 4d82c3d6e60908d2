#include <gtest/gtest.h>
#include <sstream>

#include "ctl/print/Json.h"
#include "gatehall/platform/Platform.h"
#include "service/list/Publisher.h"
#include "tests/InstalledWorld.h"
#include "tests/ctl/RunWorld.h"
#include "tests/service/ListModel.h"
#include "tests/service/RandomWorld.h"
#include "tests/service/RunningFront.h"
#include "world/script/Script.h"

// A list that is told over the bus is the one that watch shows, whatever happens to the machine; to
// those who may not know login hours it is the same without them.

namespace gatehall {
namespace {

using Json = nlohmann::ordered_json;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr unsigned kWorlds = 200;
#elif defined(NDEBUG)
constexpr unsigned kWorlds = 10'000;
#else
constexpr unsigned kWorlds = 1000;
#endif

/// The list that watch has shown in the end, and whether it could begin.
struct Watched {
  bool hasBegun = false;
  std::vector<Json> users;
};

std::size_t indexOf(const std::vector<Json>& users, const Json& user) {
  for (std::size_t index = 0; index < users.size(); ++index) {
    if (users[index].at("shortName") == user.at("shortName")) return index;
  }
  throw std::runtime_error("Nobody there is " + user.dump());
}

Watched watched(const RandomWorld& random) {
  const WorldFileOnDisk script(random.script());
  const auto outcome = runIn(random.world(), {"--json", "watch", "--script", script.path()});
  Watched result{outcome.status == ctl::ExitStatus::Done, {}};
  if (!result.hasBegun) {
    EXPECT_EQ(outcome.status, ctl::ExitStatus::HostFailure) << outcome.errors << random.script();
    return result;
  }
  std::istringstream text(outcome.output);
  std::vector<Json> arriving;
  // First goes whoever isn't where they were, then comes each to the place they have.
  const auto place = [&] {
    for (const auto& event : arriving) {
      result.users.insert(result.users.begin() + event.at("position").get<std::ptrdiff_t>() - 1,
                          event.at("user"));
    }
    arriving.clear();
  };
  std::string moment;
  for (std::string line; std::getline(text, line);) {
    const auto event = Json::parse(line);
    const auto& name = event.at("event");
    const bool isChange = name == "added" || name == "changed" || name == "removed";
    // What changed at once is told in the order of the places.
    const bool isNext = !arriving.empty() && event.contains("position") && name != "removed" &&
                        event.at("position") > arriving.back().at("position") &&
                        event.at("time") == moment;
    if (!isNext) place();
    if (name == "list") result.users = event.at("users").get<std::vector<Json>>();
    if (!isChange) continue;
    moment = event.at("time");
    if (name != "added") {
      result.users.erase(result.users.begin() +
                         static_cast<std::ptrdiff_t>(indexOf(result.users, event.at("user"))));
    }
    if (name != "removed") arriving.push_back(event);
  }
  place();
  return result;
}

/// A user as watch shows one.
Json shown(const Dictionary& user) {
  Json entry;
  for (const auto* key :
       {"shortName", "longName", "uid", "guid", "node", "local", "current", "suspended", "mobile",
        "picture", "kinwatchAllowsLogin", "kinwatchNextCurfewTime"}) {
    const auto found = user.find(key);
    entry[key] = found != user.end() ? ctl::toJson(found->second) : Json();
  }
  if (auto& curfew = entry["kinwatchNextCurfewTime"]; !curfew.is_null()) {
    curfew = ctl::isoText(Moment(std::chrono::microseconds(curfew.get<std::int64_t>())));
  }
  return entry;
}

std::vector<Json> shown(const std::vector<Dictionary>& users) {
  std::vector<Json> list;
  for (const auto& user : users) list.push_back(shown(user));
  return list;
}

/// As they are for whoever may not know when they may log in.
std::vector<Json> hidden(std::vector<Json> users) {
  for (auto& user : users) user["kinwatchAllowsLogin"] = user["kinwatchNextCurfewTime"] = Json();
  return users;
}

/// Somebody who keeps the list: by the signals, by asking now and then what changed, and by reading
/// it in the end.
class Follower {
 public:
  explicit Follower(std::function<std::unique_ptr<Client>()> make)
      : mWatching(make()), mVisiting(make()) {}

  void begin() {
    mWatching->call("Watch", "");
    mWatching->signals.clear();
    mBySignals = {};
    mByVisits = {};
  }

  void visit() { mByVisits.catchUp(*mVisiting); }

  /// The list in each way, in the state with that serial.
  std::vector<std::vector<Json>> lists(std::uint64_t published) {
    EXPECT_TRUE(mWatching->readUntil([&] {
      mBySignals.take(*mWatching);
      if (mBySignals.serial != published) mBySignals.catchUp(*mWatching);
      return mBySignals.serial == published;
    }));
    visit();
    ListModel fresh;
    fresh.read(*mVisiting);
    EXPECT_EQ(fresh.serial, published);
    return {shown(mBySignals.users), shown(mByVisits.users), shown(fresh.users)};
  }

 private:
  std::unique_ptr<Client> mWatching;
  std::unique_ptr<Client> mVisiting;
  ListModel mBySignals;
  ListModel mByVisits;
};

class RandomWorlds : public InstalledWorld {
 protected:
  /// The last serials that the layer published, also of the list without hours.
  std::uint64_t published = 0;
  std::uint64_t publishedWithoutHours = 0;

  service::Audience audience() {
    auto audience = front.audience();
    auto tell = audience.list;
    audience.list = [this, tell](service::Published state,
                                 std::optional<service::Published> withoutHours) {
      published = state.serial;
      if (withoutHours) publishedWithoutHours = withoutHours->serial;
      tell(std::move(state), std::move(withoutHours));
    };
    return audience;
  }

  /// Lets everything happen.
  void play(const RandomWorld& random, unsigned seed) {
    install(random.world());
    auto& loop = mWorld->runLoop();
    const auto publisher = std::make_shared<service::Publisher>(audience());
    published = publishedWithoutHours = 0;
    publisher->begin();
    root.begin();
    plain.begin();
    unsigned step = 0;
    for (const auto& event : readScript({"script", random.script()})) {
      loop.run(event.after);
      event.happen(*mWorld);
      if ((seed + step++) % 4 == 0 && published != 0) {
        root.visit();
        plain.visit();
      }
    }
    loop.run(2);
    publisher->end();
  }

  const bool isRoot = geteuid() == 0;
  RunningFront front;
  Follower root{[this] { return front.client(); }};
  Follower plain{[this] { return front.plainClient(); }};
};

TEST_F(RandomWorlds, AreToldAsWatchShowsThem) {
  unsigned begun = 0;
  for (unsigned seed = 0; seed < kWorlds; ++seed) {
    const RandomWorld random(seed);
    const auto watch = watched(random);
    play(random, seed);
    begun += watch.hasBegun ? 1 : 0;
    const auto compare = [&](const std::vector<std::vector<Json>>& lists, const auto& expected) {
      for (const auto& list : lists) {
        ASSERT_EQ(list, expected) << "seed " << seed << "\n"
                                  << random.world() << "\n"
                                  << random.script();
      }
    };
    const auto all = isRoot ? root.lists(published) : root.lists(publishedWithoutHours);
    const auto users = watch.hasBegun ? watch.users : all.back();
    compare(all, isRoot ? users : hidden(users));
    compare(plain.lists(publishedWithoutHours), hidden(users));
    if (HasFatalFailure()) return;
  }
  EXPECT_GT(begun, kWorlds / 2);
}

}  // namespace
}  // namespace gatehall
