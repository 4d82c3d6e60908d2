#include "tests/following/standin/ServiceStandIn.h"

#include <algorithm>
#include <array>
#include <future>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <systemd/sd-bus.h>
#include <utility>
#include <variant>

#include "listing/Gatehalld.h"

namespace gatehall {

namespace {

constexpr const char* kChanges = "(sua{sv}a{sv})";

void check(int result) {
  if (result < 0) throw std::runtime_error("The bus: error " + std::to_string(-result));
}

void append(sd_bus_message* message, const ListedUser& user) {
  check(sd_bus_message_open_container(message, 'a', "{sv}"));
  const auto text = [&](const char* key, const std::optional<std::string>& value) {
    if (value) check(sd_bus_message_append(message, "{sv}", key, "s", value->c_str()));
  };
  const auto flag = [&](const char* key, bool value) {
    check(sd_bus_message_append(message, "{sv}", key, "b", int{value}));
  };
  text("shortName", user.shortName);
  text("longName", user.longName);
  check(sd_bus_message_append(message, "{sv}", "uid", "u", user.uid));
  text("guid", user.guid);
  text("node", user.node);
  flag("local", user.local);
  flag("current", user.current);
  flag("suspended", user.suspended);
  flag("mobile", user.mobile);
  text("picture", user.picture);
  check(sd_bus_message_close_container(message));
}

void append(sd_bus_message* message, const Dictionary& entries);

/// A value in a variant: "uid" and "line" as u, other numbers as t, texts in lists.
void append(sd_bus_message* message, const std::string& key, const Value& value) {
  const bool isU = key == "uid" || key == "line";
  if (const auto* text = value.string()) {
    check(sd_bus_message_append(message, "v", "s", text->c_str()));
  } else if (const auto* list = value.array()) {
    check(sd_bus_message_open_container(message, 'v', "as"));
    check(sd_bus_message_open_container(message, 'a', "s"));
    for (const auto& each : *list) {
      check(sd_bus_message_append(message, "s", each.string()->c_str()));
    }
    check(sd_bus_message_close_container(message));
    check(sd_bus_message_close_container(message));
  } else if (const auto* inner = value.dictionary()) {
    check(sd_bus_message_open_container(message, 'v', "a{sv}"));
    append(message, *inner);
    check(sd_bus_message_close_container(message));
  } else if (std::holds_alternative<bool>(value.storage())) {
    check(sd_bus_message_append(message, "v", "b", int{*value.booleanValue()}));
  } else if (isU) {
    check(sd_bus_message_append(message, "v", "u",
                                static_cast<std::uint32_t>(*value.integerValue())));
  } else {
    check(sd_bus_message_append(message, "v", "t",
                                static_cast<std::uint64_t>(*value.integerValue())));
  }
}

void append(sd_bus_message* message, const Dictionary& entries) {
  check(sd_bus_message_open_container(message, 'a', "{sv}"));
  for (const auto& [key, value] : entries) {
    check(sd_bus_message_open_container(message, 'e', "sv"));
    check(sd_bus_message_append(message, "s", key.c_str()));
    append(message, key, value);
    check(sd_bus_message_close_container(message));
  }
  check(sd_bus_message_close_container(message));
}

void append(sd_bus_message* message, const std::vector<ListChange>& changes) {
  constexpr std::array names = {"removed", "added", "changed", "moved"};
  check(sd_bus_message_open_container(message, 'a', kChanges));
  for (const auto& change : changes) {
    check(sd_bus_message_open_container(message, 'r', "sua{sv}a{sv}"));
    check(sd_bus_message_append(message, "su", names.at(static_cast<std::size_t>(change.kind)),
                                static_cast<std::uint32_t>(change.position)));
    append(message, *change.user);
    check(sd_bus_message_open_container(message, 'a', "{sv}"));
    if (change.formerPosition) {
      check(sd_bus_message_append(message, "{sv}", "position", "u",
                                  static_cast<std::uint32_t>(*change.formerPosition)));
    }
    check(sd_bus_message_close_container(message));
    check(sd_bus_message_close_container(message));
  }
  check(sd_bus_message_close_container(message));
}

}  // namespace

struct ServiceStandIn::Methods {
  static ServiceStandIn& of(void* self) { return *static_cast<ServiceStandIn*>(self); }

  static void note(ServiceStandIn& service, sd_bus_message* call) {
    const std::lock_guard lock(service.mMutex);
    service.mCalls.emplace_back(sd_bus_message_get_member(call));
  }

  static int listUsers(sd_bus_message* call, void* self, sd_bus_error* /*error*/) {
    auto& service = of(self);
    note(service, call);
    if (service.hasNoList) {
      return sd_bus_reply_method_errorf(call, "com.orvane.Gatehall1.Error.NoList", "no accounts");
    }
    std::uint32_t offset = 0;
    std::uint32_t count = 0;
    check(sd_bus_message_read(call, "uu", &offset, &count));
    if (service.beforePage) service.beforePage();
    const auto& [serial, users] = service.mStates.back();
    sd_bus_message* answer = nullptr;
    check(sd_bus_message_new_method_return(call, &answer));
    check(sd_bus_message_append(answer, "tu", serial, static_cast<std::uint32_t>(users.size())));
    check(sd_bus_message_open_container(answer, 'a', "a{sv}"));
    const std::uint32_t most = service.pageLength;
    for (std::size_t index = offset; index < users.size() && index < offset + most; ++index) {
      append(answer, *users[index]);
    }
    check(sd_bus_message_close_container(answer));
    if (service.beforeAnswer) service.beforeAnswer();
    check(sd_bus_send(nullptr, answer, nullptr));
    sd_bus_message_unref(answer);
    return 1;
  }

  static int listChanges(sd_bus_message* call, void* self, sd_bus_error* /*error*/) {
    auto& service = of(self);
    note(service, call);
    std::uint64_t since = 0;
    check(sd_bus_message_read(call, "t", &since));
    const auto& now = service.mStates.back();
    const auto known = std::ranges::find(service.mStates, since, &State::serial);
    const bool isKnown = known != service.mStates.end();
    sd_bus_message* answer = nullptr;
    check(sd_bus_message_new_method_return(call, &answer));
    check(sd_bus_message_append(answer, "tb", now.serial, int{isKnown}));
    append(answer, isKnown ? changesBetween(known->users, now.users) : std::vector<ListChange>());
    check(sd_bus_send(nullptr, answer, nullptr));
    sd_bus_message_unref(answer);
    return 1;
  }

  static int watch(sd_bus_message* call, void* self, sd_bus_error* /*error*/) {
    auto& service = of(self);
    note(service, call);
    service.mWatchers.emplace_back(sd_bus_message_get_sender(call));
    return sd_bus_reply_method_return(call, "t", service.mStates.back().serial);
  }

  static int explain(sd_bus_message* call, void* self, sd_bus_error* /*error*/) {
    auto& service = of(self);
    note(service, call);
    const auto& [answers, error, loginError, passwordNeeded] = service.mExplaining;
    const std::string_view method(sd_bus_message_get_member(call));
    const bool isExplanation = method.starts_with("Explain");
    if (isExplanation && !passwordNeeded.empty() &&
        sd_bus_message_get_allow_interactive_authorization(call) == 0) {
      return sd_bus_reply_method_errorf(call, passwordNeeded.c_str(), "a password is needed");
    }
    if (isExplanation && !error.empty())
      return sd_bus_reply_method_errorf(call, error.c_str(), "no");
    if (!isExplanation && !loginError.empty())
      return sd_bus_reply_method_errorf(call, loginError.c_str(), "no");
    std::string whom;
    if (!method.ends_with("ByID")) {
      const char* name = nullptr;
      check(sd_bus_message_read(call, "s", &name));
      whom = name;
    } else {
      std::uint32_t uid = 0;
      check(sd_bus_message_read(call, "u", &uid));
      whom = std::to_string(uid);
    }
    sd_bus_message* answer = nullptr;
    check(sd_bus_message_new_method_return(call, &answer));
    const auto known = answers.find(whom);
    append(answer, known != answers.end() ? known->second : Dictionary());
    check(sd_bus_send(nullptr, answer, nullptr));
    sd_bus_message_unref(answer);
    return 1;
  }

  static int property(sd_bus* /*bus*/, const char* /*path*/, const char* /*interface*/,
                      const char* name, sd_bus_message* reply, void* self, sd_bus_error*) {
    const auto& service = of(self);
    const std::string_view which(name);
    if (which == "NetworkStatus") return sd_bus_message_append(reply, "i", service.mStatus);
    return sd_bus_message_append(
        reply, "b", int{which == "HasParentNetwork" ? service.mHasParent : service.mExists});
  }
};

namespace {

const sd_bus_vtable* vtableOf(sd_bus_message_handler_t listUsers,
                              sd_bus_message_handler_t listChanges, sd_bus_message_handler_t watch,
                              sd_bus_message_handler_t explain, sd_bus_property_get_t property) {
  static const std::array<sd_bus_vtable, 12> table = {{
      SD_BUS_VTABLE_START(0),
      SD_BUS_METHOD("ListUsers", "uu", "tuaa{sv}", listUsers, SD_BUS_VTABLE_UNPRIVILEGED),
      SD_BUS_METHOD("ListChanges", "t", "tba(sua{sv}a{sv})", listChanges,
                    SD_BUS_VTABLE_UNPRIVILEGED),
      SD_BUS_METHOD("Watch", "", "t", watch, SD_BUS_VTABLE_UNPRIVILEGED),
      SD_BUS_METHOD("Explain", "ss", "a{sv}", explain, SD_BUS_VTABLE_UNPRIVILEGED),
      SD_BUS_METHOD("ExplainByID", "us", "a{sv}", explain, SD_BUS_VTABLE_UNPRIVILEGED),
      SD_BUS_METHOD("CanLogIn", "ss", "a{sv}", explain, SD_BUS_VTABLE_UNPRIVILEGED),
      SD_BUS_METHOD("CanLogInByID", "us", "a{sv}", explain, SD_BUS_VTABLE_UNPRIVILEGED),
      SD_BUS_PROPERTY("HasParentNetwork", "b", property, 0, SD_BUS_VTABLE_PROPERTY_EMITS_CHANGE),
      SD_BUS_PROPERTY("ParentNetworkExists", "b", property, 0, SD_BUS_VTABLE_PROPERTY_EMITS_CHANGE),
      SD_BUS_PROPERTY("NetworkStatus", "i", property, 0, SD_BUS_VTABLE_PROPERTY_EMITS_CHANGE),
      SD_BUS_VTABLE_END,
  }};
  return table.data();
}

}  // namespace

ServiceStandIn::ServiceStandIn(const std::string& address, ListedUsers users,
                               std::uint64_t serial) {
  mStates.push_back({serial, std::move(users)});
  check(sd_bus_new(&mBus));
  check(sd_bus_set_address(mBus, address.c_str()));
  check(sd_bus_set_bus_client(mBus, 1));
  check(sd_bus_start(mBus));
  check(sd_bus_add_object_vtable(mBus, nullptr, gatehalld::kPath, gatehalld::kInterface,
                                 vtableOf(&Methods::listUsers, &Methods::listChanges,
                                          &Methods::watch, &Methods::explain, &Methods::property),
                                 this));
  check(sd_bus_request_name(mBus, gatehalld::kName, 0));
  mThread = std::thread([this] { run(); });
}

ServiceStandIn::~ServiceStandIn() {
  mIsOver = true;
  mThread.join();
  sd_bus_flush_close_unref(mBus);
}

void ServiceStandIn::run() {
  constexpr std::uint64_t kTurn = 5000;  // µs
  while (!mIsOver) {
    std::vector<std::function<void()>> tasks;
    {
      const std::lock_guard lock(mMutex);
      tasks.swap(mTasks);
    }
    for (const auto& task : tasks) task();
    const int result = sd_bus_process(mBus, nullptr);
    if (result < 0) return;  // the bus went
    if (result == 0) sd_bus_wait(mBus, kTurn);
  }
}

void ServiceStandIn::onThread(std::function<void()> task) {
  if (std::this_thread::get_id() == mThread.get_id()) {
    task();
    return;
  }
  const auto done = std::make_shared<std::promise<void>>();
  {
    const std::lock_guard lock(mMutex);
    mTasks.emplace_back([task = std::move(task), done] {
      task();
      done->set_value();
    });
  }
  done->get_future().wait();
}

void ServiceStandIn::publish(ListedUsers users, Tells tells) {
  onThread([&] {
    const auto before = mStates.back();
    mStates.push_back({before.serial + 1, std::move(users)});
    if (tells == Tells::Nobody) return;
    send(before.serial, true, changesBetween(before.users, mStates.back().users));
  });
}

void ServiceStandIn::publishTooMuch(ListedUsers users) {
  onThread([&] {
    const auto since = mStates.back().serial;
    mStates.clear();
    mStates.push_back({since + 1, std::move(users)});
    send(since, false, {});
  });
}

void ServiceStandIn::dropWatchers(ListedUsers users) {
  onThread([&] {
    const auto since = mStates.back().serial;
    mStates.push_back({since + 1, std::move(users)});
    send(since, false, {});
    mWatchers.clear();
  });
}

void ServiceStandIn::sendNonsense() {
  onThread([&] {
    const auto since = mStates.back().serial;
    mStates.push_back({since + 1, mStates.back().users});
    constexpr std::size_t kNowhere = 99;
    send(since, true,
         {{ListChange::Kind::Removed, kNowhere, std::make_shared<ListedUser>(), nullptr, {}}});
  });
}

void ServiceStandIn::send(std::uint64_t since, bool isComplete,
                          const std::vector<ListChange>& changes) {
  for (const auto& watcher : mWatchers) {
    sd_bus_message* signal = nullptr;
    check(sd_bus_message_new_signal(mBus, &signal, gatehalld::kPath, gatehalld::kInterface,
                                    "UsersChanged"));
    check(sd_bus_message_set_destination(signal, watcher.c_str()));
    check(sd_bus_message_append(signal, "ttb", since, mStates.back().serial, int{isComplete}));
    append(signal, changes);
    check(sd_bus_send(mBus, signal, nullptr));
    sd_bus_message_unref(signal);
  }
}

void ServiceStandIn::setNetwork(bool hasParent, bool exists, std::int32_t status) {
  onThread([=, this] {
    mHasParent = hasParent;
    mExists = exists;
    mStatus = status;
    check(sd_bus_emit_properties_changed(mBus, gatehalld::kPath, gatehalld::kInterface,
                                         "HasParentNetwork", "ParentNetworkExists", "NetworkStatus",
                                         nullptr));
  });
}

void ServiceStandIn::explain(Explaining explaining) {
  onThread([&] { mExplaining = std::move(explaining); });
}

std::vector<std::string> ServiceStandIn::calls() const {
  const std::lock_guard lock(mMutex);
  return mCalls;
}

}  // namespace gatehall
