#include "service/bus/Object.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>
#include <system_error>
#include <utility>
#include <variant>

#include "accounts/Whom.h"
#include "gatehall/base/PlatformException.h"
#include "service/bus/Names.h"

namespace gatehall::service {

namespace {

/// Of users, in one answer.
constexpr std::uint32_t kLongestPage = 1000;

/// Of a name, GUID or locale, in bytes.
constexpr std::size_t kLongestText = 256;

/// What sd-bus answers by itself takes at most, in bytes: the description of the object, all else.
constexpr std::size_t kLongAnswer = 8192;
constexpr std::size_t kShortAnswer = 1024;
constexpr const char* kIntrospectable = "org.freedesktop.DBus.Introspectable";

/// Stands for no user id (chown(2)).
constexpr std::uint32_t kNoUserID = 0xFFFFFFFF;

/// The next argument. As with those below, one that can't be meant raises PlatformException.
std::string textOf(const Call& call) {
  const std::string text = call.argument<const char*>(SD_BUS_TYPE_STRING);
  if (text.size() > kLongestText) throw PlatformException("A text is longer than 256 bytes");
  return text;
}

Whom nameOf(const Call& call) {
  auto name = textOf(call);
  if (name.empty()) throw PlatformException("The name is empty");
  return name;
}

Whom userIDOf(const Call& call) {
  const auto userID = call.argument<std::uint32_t>(SD_BUS_TYPE_UINT32);
  if (userID == kNoUserID) throw PlatformException("4294967295 stands for no user id");
  return userID;
}

Whom guidOf(const Call& call) {
  try {
    const auto whom = whomMeant(textOf(call));
    if (std::holds_alternative<UUIDBytes>(whom)) return whom;
  } catch (const MeansNobody& nobody) {
    throw PlatformException(nobody.what());
  }
  throw PlatformException("It is no GUID");
}

void check(int result) {
  if (result >= 0) return;
  throw PlatformException("Unable to stand on the bus: " +
                          std::generic_category().message(-result));
}

}  // namespace

/// What the interface holds, sd_bus_add_object_vtable(3). Who may call what is the authority's
/// matter, not that of the capabilities by which sd-bus would tell the privileged.
struct Object::Table {
  static constexpr std::uint64_t kForAll = SD_BUS_VTABLE_UNPRIVILEGED;
  static constexpr std::uint64_t kNever = SD_BUS_VTABLE_PROPERTY_CONST;
  static constexpr std::uint64_t kChanges = SD_BUS_VTABLE_PROPERTY_EMITS_CHANGE;

  static sd_bus_vtable start() {
    sd_bus_vtable entry{};
    entry.type = _SD_BUS_VTABLE_START;
    entry.x.start = {sizeof(sd_bus_vtable), _SD_BUS_VTABLE_PARAM_NAMES, sdBus().tableFormat};
    return entry;
  }

  static const sd_bus_vtable* entries() {
    static const std::array<sd_bus_vtable, 19> table = {
        {start(),
         SD_BUS_METHOD_WITH_NAMES("ListUsers", "uu", SD_BUS_PARAM(offset) SD_BUS_PARAM(count),
                                  "tuaa{sv}",
                                  SD_BUS_PARAM(serial) SD_BUS_PARAM(total) SD_BUS_PARAM(users),
                                  &onCall<&Object::listUsers>, kForAll),
         SD_BUS_METHOD_WITH_NAMES("ListChanges", "t", SD_BUS_PARAM(since), "tba(sua{sv}a{sv})",
                                  SD_BUS_PARAM(serial) SD_BUS_PARAM(complete) SD_BUS_PARAM(changes),
                                  &onCall<&Object::listChanges>, kForAll),
         SD_BUS_METHOD_WITH_NAMES("Watch", "", "", "t", SD_BUS_PARAM(serial),
                                  &onCall<&Object::watch>, kForAll),
         SD_BUS_METHOD_WITH_NAMES("Unwatch", "", "", "", "", &onCall<&Object::unwatch>, kForAll),
         SD_BUS_METHOD_WITH_NAMES("CanLogIn", "ss", SD_BUS_PARAM(name) SD_BUS_PARAM(locale),
                                  "a{sv}", SD_BUS_PARAM(answer), &onCall<&Object::canLogIn>,
                                  kForAll),
         SD_BUS_METHOD_WITH_NAMES("CanLogInByID", "us", SD_BUS_PARAM(uid) SD_BUS_PARAM(locale),
                                  "a{sv}", SD_BUS_PARAM(answer), &onCall<&Object::canLogInByID>,
                                  kForAll),
         SD_BUS_METHOD_WITH_NAMES("Explain", "ss", SD_BUS_PARAM(name) SD_BUS_PARAM(locale), "a{sv}",
                                  SD_BUS_PARAM(answer), &onCall<&Object::explain>, kForAll),
         SD_BUS_METHOD_WITH_NAMES("ExplainByID", "us", SD_BUS_PARAM(uid) SD_BUS_PARAM(locale),
                                  "a{sv}", SD_BUS_PARAM(answer), &onCall<&Object::explainByID>,
                                  kForAll),
         SD_BUS_METHOD_WITH_NAMES("UserByName", "s", SD_BUS_PARAM(name), "a{sv}",
                                  SD_BUS_PARAM(user), &onCall<&Object::userByName>, kForAll),
         SD_BUS_METHOD_WITH_NAMES("UserByID", "u", SD_BUS_PARAM(uid), "a{sv}", SD_BUS_PARAM(user),
                                  &onCall<&Object::userByID>, kForAll),
         SD_BUS_METHOD_WITH_NAMES("UserByGUID", "s", SD_BUS_PARAM(guid), "a{sv}",
                                  SD_BUS_PARAM(user), &onCall<&Object::userByGUID>, kForAll),
         SD_BUS_SIGNAL_WITH_NAMES("UsersChanged", "ttba(sua{sv}a{sv})",
                                  SD_BUS_PARAM(since) SD_BUS_PARAM(serial) SD_BUS_PARAM(complete)
                                      SD_BUS_PARAM(changes),
                                  0),
         SD_BUS_PROPERTY("Version", "s", &onGet<&Object::version>, 0, kNever),
         SD_BUS_PROPERTY("Serial", "t", &onGet<&Object::serial>, 0, 0),
         SD_BUS_PROPERTY("HasParentNetwork", "b", &onGet<&Object::hasParentNetwork>, 0, kChanges),
         SD_BUS_PROPERTY("ParentNetworkExists", "b", &onGet<&Object::parentNetworkExists>, 0,
                         kChanges),
         SD_BUS_PROPERTY("NetworkStatus", "i", &onGet<&Object::networkStatus>, 0, kChanges),
         SD_BUS_VTABLE_END}};
    return table.data();
  }
};

Object::Object(sd_bus& bus, MainLoop& loop, Questions& questions, const Limits& limits)
    : mBus(bus),
      mAuthority(bus),
      mTurns(loop),
      mCalls(limits.calls, limits.callsInAll),
      mUnread(bus, loop, limits, [this](const std::string& client) { drop(client); }),
      mWatchers(bus, mAuthority, mHistories, mTurns, mUnread, limits),
      mInquiries(loop, mAuthority, questions) {
  sd_bus_slot* slot = nullptr;
  check(sdBus().add_object_vtable(&bus, &slot, kObjectPath, kInterface, Table::entries(), this));
  mSlot.reset(slot);
  check(sdBus().add_filter(&bus, &slot, &onMessage, this));
  mFilter.reset(slot);
  mAuthority.whenGone([this](const std::string& client) {
    drop(client);
    mUnread.forget(client);
  });
}

// What the layer has to say.

void Object::setList(Published state, std::optional<Published> withoutHours) {
  mHistories.withHours.add(std::move(state));
  if (withoutHours) mHistories.withoutHours.add(std::move(*withoutHours));
  mNoList.reset();
  answerWithoutList();
  mWatchers.tell();
}

void Object::setNoList(std::string reason) {
  mNoList = std::move(reason);
  answerWithoutList();
}

void Object::setNetwork(NetworkState state) {
  if (mNetwork == state) return;
  mNetwork = state;
  std::array names = {std::string("HasParentNetwork"), std::string("ParentNetworkExists"),
                      std::string("NetworkStatus")};
  std::array<char*, 4> list = {names[0].data(), names[1].data(), names[2].data(), nullptr};
  sdBus().emit_properties_changed_strv(&mBus, kObjectPath, kInterface, list.data());
}

// Calls.

template <Object::Method method>
int Object::onCall(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
  static_cast<Object*>(self)->take(message, method);
  return 1;
}

template <auto property>
int Object::onGet(sd_bus* /*bus*/, const char* /*path*/, const char* /*interface*/,
                  const char* /*name*/, sd_bus_message* reply, void* self,
                  sd_bus_error* /*error*/) {
  auto& object = *static_cast<Object*>(self);
  object.mLastCall = std::chrono::steady_clock::now();
  try {
    MessageWriter writer(reply);
    (object.*property)(writer);
  } catch (const PlatformException&) {
    return -ENOMEM;
  }
  return 1;
}

/// sd-bus answers by itself for properties and introspection, and what isn't there: it is kept from
/// that for who doesn't read. Calls of the interface wait until there is room for their answers.
int Object::onMessage(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
  auto& object = *static_cast<Object*>(self);
  const auto& sd = sdBus();
  const auto* sender = sd.message_get_sender(message);
  if (sd.message_is_method_call(message, nullptr, nullptr) <= 0 || sender == nullptr) return 0;
  const std::string client(sender);
  const bool isNew = !object.mUnread.knows(client);
  object.mUnread.add(client, 0);
  if (isNew) {
    object.mAuthority.identify(message, [&object, client](std::optional<std::uint32_t> userID) {
      if (userID) object.mUnread.setUserID(client, *userID);
    });
  }
  const bool isOwn = sd.message_is_method_call(message, kInterface, nullptr) > 0;
  if (isOwn ? object.mUnread.isFull(client) : !object.mUnread.hasRoom(client)) return 1;
  const bool isLong = sd.message_is_method_call(message, kIntrospectable, nullptr) > 0;
  object.mUnread.add(client, isLong ? kLongAnswer : kShortAnswer);
  return 0;
}

/// Who has no room has no answer, since nothing waits for what has no place.
void Object::refuse(sd_bus_message* call, const char* error, const char* text) {
  const auto* sender = sdBus().message_get_sender(call);
  if (sender == nullptr || !mUnread.hasRoom(sender)) return;
  mUnread.add(sender, Call::refuse(mBus, call, error, text));
}

/// Lets a call wait for its turn, if there is a place to wait.
void Object::take(sd_bus_message* message, Method method) {
  mLastCall = std::chrono::steady_clock::now();
  const std::shared_ptr<sd_bus_message> held(sdBus().message_ref(message), SdBusUnreferenced());
  ++mArriving;
  const auto isAsked =
      mAuthority.identify(message, [this, held, method](std::optional<std::uint32_t> userID) {
        --mArriving;
        if (!userID) {
          return refuse(held.get(), SD_BUS_ERROR_ACCESS_DENIED, "It is not known who calls");
        }
        auto place = mCalls.take(*userID);
        if (!place) {
          return refuse(held.get(), SD_BUS_ERROR_LIMITS_EXCEEDED,
                        "Too many calls wait for their answers");
        }
        const auto call =
            std::make_shared<Call>(mBus, mUnread, held.get(), *userID, std::move(place));
        mTurns.add(*userID, [this, call, method] { answer(call, method); });
      });
  if (isAsked) return;
  --mArriving;
  refuse(message, SD_BUS_ERROR_LIMITS_EXCEEDED, "Too many calls wait for their answers");
}

/// Nobody waits for the answer of a client that went before its call had its turn.
void Object::answer(const Waiting& call, Method method) try {
  if (!mAuthority.isThere(call->client())) return;
  (this->*method)(call);
} catch (const PlatformException& failure) {
  call->refuse(SD_BUS_ERROR_INVALID_ARGS, failure.what());
}

/// True when it is answered, or waits until it is known whether there is a list.
bool Object::lacksList(const Waiting& call, Method method) {
  if (mHistories.withoutHours.users()) return false;
  if (mNoList) {
    call->refuse(kNoList, *mNoList);
  } else {
    mWithoutList.push_back({call, method});
  }
  return true;
}

void Object::answerWithoutList() {
  for (const auto& each : std::exchange(mWithoutList, {})) {
    mTurns.add(each.call->userID(), [this, each] { answer(each.call, each.method); });
  }
}

/// Tells whether the caller may know login hours in the list. One's own are none of it: the list
/// would be one for each user.
void Object::withHours(const Waiting& call, std::function<void(Hours)> told) {
  mAuthority.check(call->message(), kReadLoginHours, Interaction::No,
                   [told = std::move(told)](Permission permission) {
                     told(permission == Permission::Allowed ? Hours::Told : Hours::LeftOut);
                   });
}

/// Has nothing more sent to the client that it asked for so far.
void Object::drop(const std::string& client) {
  mWatchers.remove(client);
  mInquiries.forget(client);
  std::erase_if(mWithoutList, [&](const auto& each) { return each.call->client() == client; });
}

// Methods.

void Object::listUsers(const Waiting& call) {
  if (lacksList(call, &Object::listUsers)) return;
  withHours(call, [this, call](Hours hours) {
    call->answer([this, call, hours](MessageWriter& writer) {
      const auto offset = call->argument<std::uint32_t>(SD_BUS_TYPE_UINT32);
      const auto count = call->argument<std::uint32_t>(SD_BUS_TYPE_UINT32);
      const auto& history = mHistories.of(hours);
      const auto& users = *history.users();
      const auto begin = std::min<std::size_t>(offset, users.size());
      const auto length = count == 0 ? kLongestPage : std::min(count, kLongestPage);
      const auto end = std::min<std::size_t>(begin + length, users.size());
      writer.number(history.serial());
      writer.number(static_cast<std::uint32_t>(users.size()));
      writer.within(SD_BUS_TYPE_ARRAY, "a{sv}", [&] {
        for (auto index = begin; index < end; ++index) append(writer, *users[index], hours);
      });
    });
  });
}

void Object::listChanges(const Waiting& call) {
  if (lacksList(call, &Object::listChanges)) return;
  withHours(call, [this, call](Hours hours) {
    call->answer([this, call, hours](MessageWriter& writer) {
      auto& history = mHistories.of(hours);
      const auto changes = history.since(call->argument<std::uint64_t>(SD_BUS_TYPE_UINT64));
      writer.number(history.serial());
      writer.boolean(changes != nullptr);
      append(writer, changes ? *changes : std::vector<ListChange>(), hours);
    });
  });
}

void Object::watch(const Waiting& call) {
  if (mTakesNoWatchers) {
    return call->refuse(SD_BUS_ERROR_NAME_HAS_NO_OWNER,
                        "The service ends; the next call starts it");
  }
  if (!mWatchers.add(*call)) {
    return call->refuse(SD_BUS_ERROR_LIMITS_EXCEEDED, "Too many clients watch");
  }
  withHours(call, [this, call](Hours hours) {
    const auto serial = mWatchers.begin(call->client(), hours);
    call->answer([serial](MessageWriter& writer) { writer.number(serial); });
  });
}

void Object::unwatch(const Waiting& call) {
  mWatchers.remove(call->client());
  call->answer([](MessageWriter&) {});
}

// Arguments are read in their order.

void Object::canLogIn(const Waiting& call) {
  Question question{.kind = Question::Kind::CanLogIn, .whom = nameOf(*call)};
  question.locale = textOf(*call);
  mInquiries.answer(call, std::move(question));
}

void Object::canLogInByID(const Waiting& call) {
  Question question{.kind = Question::Kind::CanLogIn, .whom = userIDOf(*call)};
  question.locale = textOf(*call);
  mInquiries.answer(call, std::move(question));
}

void Object::explain(const Waiting& call) {
  Question question{.kind = Question::Kind::Explain, .whom = nameOf(*call)};
  question.locale = textOf(*call);
  mInquiries.explain(call, std::move(question));
}

void Object::explainByID(const Waiting& call) {
  Question question{.kind = Question::Kind::Explain, .whom = userIDOf(*call)};
  question.locale = textOf(*call);
  mInquiries.explain(call, std::move(question));
}

void Object::userByName(const Waiting& call) {
  mInquiries.answer(call, {.kind = Question::Kind::User, .whom = nameOf(*call)});
}

void Object::userByID(const Waiting& call) {
  mInquiries.answer(call, {.kind = Question::Kind::User, .whom = userIDOf(*call)});
}

void Object::userByGUID(const Waiting& call) {
  mInquiries.answer(call, {.kind = Question::Kind::User, .whom = guidOf(*call)});
}

}  // namespace gatehall::service
