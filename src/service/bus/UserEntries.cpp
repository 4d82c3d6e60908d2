#include "service/bus/UserEntries.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <type_traits>
#include <utility>

namespace gatehall::service {

namespace {

void append(MessageWriter& writer, std::string_view key, const std::string& text) {
  writer.entry(key, "s", [&] { writer.text(text); });
}
void append(MessageWriter& writer, std::string_view key, bool flag) {
  writer.entry(key, "b", [&] { writer.boolean(flag); });
}
void append(MessageWriter& writer, std::string_view key, std::uint32_t number) {
  writer.entry(key, "u", [&] { writer.number(number); });
}
void append(MessageWriter& writer, std::string_view key, Moment moment) {
  writer.entry(key, "t", [&] { service::append(writer, moment); });
}

/// Calls the function with the name and the value of each field that is known.
template <class Function>
void forEachField(const ListedUser& user, Hours hours, Function function) {
  function("shortName", user.shortName);
  function("longName", user.longName);
  function("uid", std::optional(user.uid));
  function("guid", user.guid);
  function("node", user.node);
  function("local", std::optional(user.local));
  function("current", std::optional(user.current));
  function("suspended", std::optional(user.suspended));
  function("mobile", std::optional(user.mobile));
  function("picture", user.picture);
  if (hours == Hours::LeftOut) return;
  function("kinwatchAllowsLogin", user.kinwatchAllowsLogin);
  function("kinwatchNextCurfewTime", user.kinwatchNextCurfewTime);
}

const char* nameOf(ListChange::Kind kind) {
  switch (kind) {
    case ListChange::Kind::Removed:
      return "removed";
    case ListChange::Kind::Added:
      return "added";
    case ListChange::Kind::Moved:
      return "moved";
    case ListChange::Kind::Changed:
      break;
  }
  return "changed";
}

/// What is different about a user, as it was; what was absent is left out.
void appendWas(MessageWriter& writer, const ListChange& change, Hours hours) {
  writer.within(SD_BUS_TYPE_ARRAY, "{sv}", [&] {
    if (change.was && change.kind != ListChange::Kind::Moved) {
      forEachField(*change.was, hours, [&](std::string_view key, const auto& was) {
        bool isSame = false;
        forEachField(*change.user, hours, [&](std::string_view other, const auto& is) {
          if constexpr (std::is_same_v<decltype(is), decltype(was)>) {
            if (other == key) isSame = is == was;
          }
        });
        if (was && !isSame) append(writer, key, *was);
      });
    }
    if (change.formerPosition) {
      append(writer, "position", static_cast<std::uint32_t>(*change.formerPosition));
    }
  });
}

}  // namespace

void append(MessageWriter& writer, Moment moment) {
  const auto count = moment.time_since_epoch().count();
  writer.number(static_cast<std::uint64_t>(std::max<std::int64_t>(count, 0)));
}

void append(MessageWriter& writer, const ListedUser& user, Hours hours) {
  writer.within(SD_BUS_TYPE_ARRAY, "{sv}", [&] {
    forEachField(user, hours, [&](std::string_view key, const auto& value) {
      if (value) append(writer, key, *value);
    });
  });
}

void append(MessageWriter& writer, const std::vector<ListChange>& changes, Hours hours) {
  writer.within(SD_BUS_TYPE_ARRAY, "(sua{sv}a{sv})", [&] {
    for (const auto& change : changes) {
      writer.within(SD_BUS_TYPE_STRUCT, "sua{sv}a{sv}", [&] {
        writer.text(nameOf(change.kind));
        writer.number(static_cast<std::uint32_t>(change.position));
        append(writer, *change.user, hours);
        appendWas(writer, change, hours);
      });
    }
  });
}

}  // namespace gatehall::service
