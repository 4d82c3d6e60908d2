#include "service/rights/Authority.h"

#include <algorithm>
#include <cstddef>
#include <system_error>
#include <utility>
#include <variant>

#include "gatehall/base/PlatformException.h"

namespace gatehall {

namespace {

// polkit's D-Bus API, in its reference manual.
constexpr const char* kPolkit = "org.freedesktop.PolicyKit1";
constexpr const char* kAuthorityPath = "/org/freedesktop/PolicyKit1/Authority";
constexpr const char* kAuthority = "org.freedesktop.PolicyKit1.Authority";
constexpr std::uint32_t kAllowUserInteraction = 1;
constexpr const char* kTemporary = "polkit.temporary_authorization_id";

constexpr std::uint32_t kRoot = 0;

/// Calls of one client that may wait for the same answer.
constexpr std::size_t kMostWaiting = 128;

void check(int result) {
  if (result >= 0) return;
  throw PlatformException("Unable to ask polkit: " + std::generic_category().message(-result));
}

std::string senderOf(sd_bus_message* call) {
  const auto* sender = sdBus().message_get_sender(call);
  return sender == nullptr ? "" : sender;
}

/// The arguments of CheckAuthorization, (sa{sv})sa{ss}us: the subject, the action, no details, the
/// flags, and no name by which the check might be cancelled.
void appendArguments(sd_bus_message* message, const std::string& client, const std::string& action,
                     std::uint32_t flags) {
  const auto& sd = sdBus();
  const auto open = [&](char type, const char* contents) {
    check(sd.message_open_container(message, type, contents));
  };
  const auto close = [&] { check(sd.message_close_container(message)); };
  const auto text = [&](const char* value) {
    check(sd.message_append_basic(message, SD_BUS_TYPE_STRING, value));
  };
  open(SD_BUS_TYPE_STRUCT, "sa{sv}");
  text("system-bus-name");
  open(SD_BUS_TYPE_ARRAY, "{sv}");
  open(SD_BUS_TYPE_DICT_ENTRY, "sv");
  text("name");
  open(SD_BUS_TYPE_VARIANT, "s");
  text(client.c_str());
  close();
  close();
  close();
  close();
  text(action.c_str());
  open(SD_BUS_TYPE_ARRAY, "{ss}");
  close();
  check(sd.message_append_basic(message, SD_BUS_TYPE_UINT32, &flags));
  text("");
}

struct PolkitAnswer {
  Permission permission = Permission::Denied;
  bool lasts = false;
};

/// Of an answer (bba{ss}): authorized, would be after an authentication, details. Without a value
/// when it is none.
std::optional<PolkitAnswer> read(sd_bus_message* message) try {
  if (sdBus().message_is_method_error(message, nullptr) > 0) return std::nullopt;
  const auto values = messageValues(message);
  const auto* result = values.size() == 1 ? values[0].array() : nullptr;
  if (result == nullptr || result->size() != 3) return std::nullopt;
  const auto* isAuthorized = std::get_if<bool>(&(*result)[0].storage());
  const auto* isChallenge = std::get_if<bool>(&(*result)[1].storage());
  const auto* details = (*result)[2].dictionary();
  if (isAuthorized == nullptr || isChallenge == nullptr || details == nullptr) return std::nullopt;
  if (*isAuthorized) return PolkitAnswer{Permission::Allowed, !details->contains(kTemporary)};
  return PolkitAnswer{*isChallenge ? Permission::NeedsInteraction : Permission::Denied, true};
} catch (const UnreadableMessage&) {
  return std::nullopt;
}

}  // namespace

struct Authority::Question {
  Authority& authority;
  const std::string client;
  const std::string action;
  const Interaction interaction;
  bool isStale = false;  ///< something changed since polkit was asked
  std::vector<Told> waiting{};
  SdBusSlot slot{};
};

Authority::Authority(sd_bus& bus, AuthorityLimits limits)
    : mBus(bus), mLimits(limits), mCallers(bus, limits.answer) {
  listen(
      "type='signal',sender='org.freedesktop.PolicyKit1',"
      "path='/org/freedesktop/PolicyKit1/Authority',"
      "interface='org.freedesktop.PolicyKit1.Authority',member='Changed'",
      mChanges);
  // Another polkit may have other rules.
  listen(
      "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',"
      "interface='org.freedesktop.DBus',member='NameOwnerChanged',"
      "arg0='org.freedesktop.PolicyKit1'",
      mOwner);
  mCallers.whenGone([this](const std::string& client) { forget(client); });
}

Authority::~Authority() = default;

void Authority::listen(const char* rule, SdBusSlot& slot) {
  sd_bus_slot* raw = nullptr;
  gatehall::check(sdBus().add_match_async(&mBus, &raw, rule, &onChange, nullptr, this));
  slot.reset(raw);
}

bool Authority::identify(sd_bus_message* call, Callers::Told told) {
  return mCallers.identify(senderOf(call), std::move(told));
}

void Authority::whenGone(std::function<void(const std::string& client)> handler) {
  mCallers.whenGone(std::move(handler));
}

void Authority::check(sd_bus_message* call, const char* action, Interaction interaction,
                      const Told& told) {
  if (sdBus().message_get_allow_interactive_authorization(call) <= 0) interaction = Interaction::No;
  check(senderOf(call), action, interaction, told);
}

void Authority::check(const std::string& client, const char* action, const Told& told) {
  check(client, action, Interaction::No, told);
}

void Authority::check(const std::string& client, const std::string& action, Interaction interaction,
                      const Told& told) {
  const auto isAsked = mCallers.identify(
      client, [this, client, action, interaction, told](std::optional<std::uint32_t> userID) {
        if (!userID) return told(Permission::Denied);
        if (*userID == kRoot) return told(Permission::Allowed);
        checkUser(client, action, interaction, told);
      });
  if (!isAsked) told(Permission::Denied);
}

void Authority::checkUser(const std::string& client, const std::string& action,
                          Interaction interaction, Told told) {
  const auto known = kept(client, action);
  // Somebody who may authenticate is asked to, whatever came out without.
  if (known && (interaction == Interaction::No || *known != Permission::NeedsInteraction)) {
    return told(*known);
  }
  auto question = std::ranges::find_if(mQuestions, [&](const Question& each) {
    return !each.isStale && each.client == client && each.action == action &&
           each.interaction == interaction;
  });
  if (question == mQuestions.end()) {
    // Those that something changed since wait for their answers, too.
    if (std::ranges::count(mQuestions, client, &Question::client) >=
        static_cast<std::ptrdiff_t>(kMostWaiting)) {
      return told(Permission::Denied);
    }
    question = mQuestions.emplace(mQuestions.end(), Question{*this, client, action, interaction});
    question->waiting.push_back(std::move(told));
    try {
      ask(*question);
    } catch (const PlatformException&) {
      tell(*question, Permission::Denied);
    }
    return;
  }
  if (question->waiting.size() >= kMostWaiting) return told(Permission::Denied);
  question->waiting.push_back(std::move(told));
}

std::optional<Permission> Authority::kept(const std::string& client,
                                          const std::string& action) const {
  const auto actions = mKept.find(client);
  if (actions == mKept.end()) return std::nullopt;
  const auto found = actions->second.find(action);
  if (found == actions->second.end()) return std::nullopt;
  const auto& [permission, until] = found->second;
  if (until && *until <= std::chrono::steady_clock::now()) return std::nullopt;
  return permission;
}

/// What somebody authenticated for isn't kept, nor what was asked before something changed.
void Authority::keep(const Question& question, Known known) {
  if (question.isStale || question.interaction == Interaction::Yes) return;
  mKept[question.client].insert_or_assign(question.action, known);
}

void Authority::ask(Question& question) {
  const auto& sd = sdBus();
  const bool isInteractive = question.interaction == Interaction::Yes;
  sd_bus_message* raw = nullptr;
  gatehall::check(sd.message_new_method_call(&mBus, &raw, kPolkit, kAuthorityPath, kAuthority,
                                             "CheckAuthorization"));
  const SdBusMessage message(raw);
  appendArguments(raw, question.client, question.action, isInteractive ? kAllowUserInteraction : 0);
  const std::chrono::microseconds limit = isInteractive ? mLimits.interaction : mLimits.answer;
  sd_bus_slot* slot = nullptr;
  gatehall::check(sd.call_async(&mBus, &slot, raw, &onAnswer, &question,
                                static_cast<std::uint64_t>(limit.count())));
  question.slot.reset(slot);
}

/// Also called when no answer came in time, and for a connection that ends.
int Authority::onAnswer(sd_bus_message* answer, void* self, sd_bus_error* /*error*/) {
  auto& question = *static_cast<Question*>(self);
  auto& authority = question.authority;
  const auto told = read(answer);
  if (told && told->lasts) {
    authority.keep(question, {told->permission, std::nullopt});
  } else if (sdBus().message_is_method_error(answer, SD_BUS_ERROR_NO_REPLY) > 0) {
    authority.keep(question,
                   {Permission::Denied, std::chrono::steady_clock::now() + authority.mLimits.rest});
  }
  authority.tell(question, told ? told->permission : Permission::Denied);
  return 0;
}

/// Whoever is told may check something else, or the same again.
void Authority::tell(Question& question, Permission permission) {
  const auto waiting = std::exchange(question.waiting, {});
  mQuestions.remove_if([&](const Question& each) { return &each == &question; });
  for (const auto& told : waiting) told(permission);
}

/// Anybody may claim that something changed: all that it costs is that polkit is asked again.
int Authority::onChange(sd_bus_message* /*signal*/, void* self, sd_bus_error* /*error*/) {
  auto& authority = *static_cast<Authority*>(self);
  authority.mKept.clear();
  for (auto& question : authority.mQuestions) question.isStale = true;
  return 0;
}

void Authority::forget(const std::string& client) {
  mKept.erase(client);
  while (true) {
    const auto question = std::ranges::find(mQuestions, client, &Question::client);
    if (question == mQuestions.end()) return;
    tell(*question, Permission::Denied);
  }
}

}  // namespace gatehall
