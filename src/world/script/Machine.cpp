#include <array>

#include "world/file/Values.h"
#include "world/script/Events.h"

namespace gatehall::scriptEvents {

namespace {

/// Nobody posts anything: whoever wants to know asks from time to time.
Event readDirectory(const JsonCursor& section) {
  section.object({"available", "unreachable"});
  std::optional<bool> available;
  if (const auto at = section.find("available")) available = at->boolean();
  std::optional<Strings> unreachable;
  if (const auto at = section.find("unreachable")) unreachable = readStrings(*at);
  std::string subject;
  if (available) subject = *available ? "available" : "not available";
  if (unreachable) {
    subject += std::string(subject.empty() ? "" : ", ") + "unreachable";
    for (const auto& node : *unreachable) subject += " " + node;
    if (unreachable->empty()) subject += " none";
  }
  return {subject, [=](World& world) {
            if (available) world.directory().setAvailable(*available);
            if (unreachable) world.directory().setUnreachable(*unreachable);
          }};
}

Event readLocale(const JsonCursor& at) {
  const auto& locale = at.string();
  return {locale, [locale](World& world) {
            world.collation().setLocale(locale);
            world.notificationCenter().post(kCurrentLocaleDidChangeNotification);
          }};
}

/// Somebody sets the clock; time goes on from there.
Event readNow(const JsonCursor& at) {
  const auto date = readDate(at);
  return {at.string(), [date](World& world) { world.clock().set(date); }};
}

Event readPost(const JsonCursor& at) {
  at.object({"to", "name", "userInfo"});
  const auto named = at.find("name");
  if (!named) at.fail(R"(the event needs a "name")");
  const auto name = named->nonEmptyString();
  const auto to = at.find("to");
  const std::string center = to ? to->string() : "distributed";
  std::optional<Dictionary> userInfo;
  const auto info = at.find("userInfo");
  if (info) userInfo = readDictionary(*info);
  if (center == "system") {
    if (info) info->fail("a notification of the system has no content");
    return {name, [name](World& world) { world.systemNotifications().post(name); }};
  }
  if (center == "process") {
    return {name, [=](World& world) { world.notificationCenter().post(name, userInfo); }};
  }
  if (center != "distributed") to->fail(R"(expected "distributed", "process" or "system")");
  return {name, [=](World& world) { world.distributedNotificationCenter().post(name, userInfo); }};
}

constexpr std::array kKinds = {
    Kind{"directory", readDirectory},
    Kind{"locale", readLocale},
    Kind{"now", readNow},
    Kind{"post", readPost},
};

}  // namespace

std::span<const Kind> ofMachine() { return kKinds; }

}  // namespace gatehall::scriptEvents
