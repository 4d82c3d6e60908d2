#pragma once

#include <atomic>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "service/bus/Front.h"
#include "tests/linux/Machine.h"
#include "tests/linux/bus/fixture/PrivateBus.h"
#include "tests/service/Client.h"
#include "tests/service/rights/Peers.h"

namespace gatehall {

/// The service on a bus of its own, which a test tells what the layer would.
class RunningFront {
 public:
  explicit RunningFront(const service::Limits& limits = {},
                        service::Questions::Answering answering = nobody) {
    HostOptions options;
    options.systemBusAddress = bus.address();
    mFront.emplace(options, limits, log, std::move(answering), [this] {
      hasEnded = true;
      hasEnded.notify_all();
    });
    mFront->begin();
  }

  service::Audience audience() { return mFront->audience(); }

  /// A client, once the service is there.
  std::unique_ptr<Client> client() {
    auto client = std::make_unique<Client>(bus.address());
    client->findService();
    return client;
  }

  /// One who isn't root, where the test may be somebody else.
  std::unique_ptr<Client> plainClient() {
    client();  // so that the service is root's all the same
    using std::filesystem::perms;
    std::filesystem::permissions(
        std::filesystem::path(bus.address().substr(bus.address().find('/'))).parent_path(),
        perms::group_exec | perms::others_exec, std::filesystem::perm_options::add);
    const Nobody nobody;
    return client();
  }

  void end() { mFront.reset(); }
  bool hasFailed() const { return mFront->hasFailed(); }

  PrivateBus bus;
  KeptLog log;
  std::atomic<bool> hasEnded = false;

 private:
  static service::Answer nobody(const service::Question& /*question*/) {
    return service::Failure{service::kNoSuchUser, "Nobody is there"};
  }

  std::optional<service::Front> mFront;
};

/// States of a list, one after another. That of users without login hours has other serials as soon
/// as nothing but hours has changed.
class States {
 public:
  explicit States(service::Audience audience, std::uint64_t serial = 100)
      : States(std::move(audience), serial, serial) {}
  States(service::Audience audience, std::uint64_t serial, std::uint64_t serialWithoutHours)
      : mAudience(std::move(audience)), mList{serial}, mWithoutHours{serialWithoutHours} {}

  /// Publishes the list and waits until a client sees it.
  void publish(Client& client, const std::vector<ListedUser>& users) {
    tell(users);
    const auto limit = std::chrono::steady_clock::now() + kPatience;
    while (client.property("Serial") != Value(static_cast<std::int64_t>(mWithoutHours.serial))) {
      if (std::chrono::steady_clock::now() > limit) throw std::runtime_error("No list came.");
    }
  }

  void tell(const std::vector<ListedUser>& users) {
    ListedUsers list;
    for (const auto& each : users) list.push_back(std::make_shared<const ListedUser>(each));
    auto others = mWithoutHours.next(withoutHours(list));
    if (auto state = mList.next(std::move(list))) {
      mAudience.list(std::move(*state), std::move(others));
    }
  }

  std::uint64_t serial() const { return mList.serial; }
  std::uint64_t serialWithoutHours() const { return mWithoutHours.serial; }

 private:
  struct Numbered {
    std::uint64_t serial;
    std::shared_ptr<const ListedUsers> users{};

    std::optional<service::Published> next(ListedUsers list) {
      std::vector<ListChange> changes;
      if (users) {
        changes = changesBetween(*users, list);
        if (changes.empty()) return std::nullopt;
        ++serial;
      }
      users = std::make_shared<const ListedUsers>(std::move(list));
      return service::Published{serial, users, std::move(changes)};
    }
  };

  const service::Audience mAudience;
  Numbered mList;
  Numbered mWithoutHours;
};

inline ListedUser person(const std::string& name, std::uint32_t userID = 1000) {
  ListedUser user;
  user.shortName = name;
  user.longName = name + " Park";
  user.uid = userID;
  user.guid = "GUID " + name;
  return user;
}

/// One for each letter.
inline std::vector<ListedUser> people(const std::string& names) {
  std::vector<ListedUser> users;
  for (const char name : names) users.push_back(person(std::string(1, name)));
  return users;
}

}  // namespace gatehall
