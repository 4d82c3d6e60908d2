#include "service/bus/Dictionary.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <variant>

#include "listing/ListedUser.h"
#include "service/bus/UserEntries.h"

namespace gatehall::service {

namespace {

class Entry {
 public:
  Entry(MessageWriter& writer, std::string_view key) : mWriter(writer), mKey(key) {}

  void operator()(const std::string& text) const {
    mWriter.entry(mKey, "s", [&] { mWriter.text(text); });
  }
  void operator()(std::int64_t number) const {
    if (mKey == "uid" || mKey == "line") {
      mWriter.entry(mKey, "u", [&] { mWriter.number(static_cast<std::uint32_t>(number)); });
    } else {
      mWriter.entry(mKey, "x", [&] { mWriter.number(number); });
    }
  }
  void operator()(double number) const {
    mWriter.entry(mKey, "d", [&] { mWriter.number(number); });
  }
  void operator()(bool flag) const {
    mWriter.entry(mKey, "b", [&] { mWriter.boolean(flag); });
  }
  void operator()(Date date) const {
    mWriter.entry(mKey, "t", [&] { append(mWriter, momentOf(date)); });
  }
  void operator()(const Data& /*bytes*/) const {}
  void operator()(const Dictionary& entries) const {
    mWriter.entry(mKey, "a{sv}", [&] { append(mWriter, entries); });
  }
  void operator()(const Array& elements) const {
    const auto isDictionary = [](const Value& value) { return value.dictionary() != nullptr; };
    if (!elements.empty() && std::ranges::all_of(elements, isDictionary)) {
      mWriter.entry(mKey, "aa{sv}", [&] {
        mWriter.within(SD_BUS_TYPE_ARRAY, "a{sv}", [&] {
          for (const auto& each : elements) append(mWriter, *each.dictionary());
        });
      });
      return;
    }
    mWriter.entry(mKey, "as", [&] {
      mWriter.within(SD_BUS_TYPE_ARRAY, "s", [&] {
        for (const auto& each : elements) mWriter.text(each.description());
      });
    });
  }

 private:
  MessageWriter& mWriter;
  std::string_view mKey;
};

}  // namespace

void append(MessageWriter& writer, const Dictionary& entries) {
  writer.within(SD_BUS_TYPE_ARRAY, "{sv}", [&] {
    for (const auto& [key, value] : entries) std::visit(Entry(writer, key), value.storage());
  });
}

}  // namespace gatehall::service
