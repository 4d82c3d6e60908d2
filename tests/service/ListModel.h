#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "gatehall/base/Value.h"
#include "tests/service/Client.h"

namespace gatehall {

/// A list of users as a client keeps it who goes by what the service says.
class ListModel {
 public:
  std::uint64_t serial = 0;
  std::vector<Dictionary> users;

  /// Reads it page by page, from the beginning when it changed meanwhile.
  void read(Client& client, std::uint32_t page = 0) {
    for (bool isWhole = false; !isWhole;) {
      users.clear();
      auto answer = client.call("ListUsers", "uu", 0U, page);
      serial = number(answer[0]);
      add(answer[2]);
      isWhole = true;
      while (isWhole && users.size() < number(answer[1])) {
        answer = client.call("ListUsers", "uu", static_cast<std::uint32_t>(users.size()), page);
        isWhole = number(answer[0]) == serial;
        add(answer[2]);
      }
    }
  }

  /// Catches up with what changed meanwhile.
  void catchUp(Client& client) {
    const auto answer = client.call("ListChanges", "t", serial);
    if (!std::get<bool>(answer[1].storage())) return read(client);
    apply(*answer[2].array());
    serial = number(answer[0]);
  }

  /// Takes in the signals that have come.
  void take(Client& client) {
    for (const auto& signal : std::exchange(client.signals, {})) {
      const bool isComplete = std::get<bool>(signal[2].storage());
      if (isComplete && number(signal[1]) <= serial) continue;
      if (number(signal[0]) != serial || !isComplete) {
        catchUp(client);
        continue;
      }
      apply(*signal[3].array());
      serial = number(signal[1]);
    }
  }

  static std::uint64_t number(const Value& value) { return value.unsignedValue().value(); }

 private:
  void add(const Value& page) {
    for (const auto& user : *page.array()) users.push_back(dictionary(user));
  }

  /// One without entries can't be told from an empty array.
  static Dictionary dictionary(const Value& value) {
    return value.dictionary() != nullptr ? *value.dictionary() : Dictionary();
  }

  static std::string identity(const Dictionary& user) {
    const auto guid = user.find("guid");
    if (guid != user.end()) return guid->second.description();
    const auto name = user.find("shortName");
    return user.at("uid").description() + " " +
           (name != user.end() ? name->second.description() : "");
  }

  /// First goes whoever isn't where they were, then comes each to the place they have.
  void apply(const Array& changes) {
    for (const auto& each : changes) {
      const auto& kind = *(*each.array())[0].string();
      if (kind != "added") take(identity(dictionary((*each.array())[2])));
    }
    for (const auto& each : changes) {
      const auto& change = *each.array();
      if (*change[0].string() == "removed") continue;
      const auto index = number(change[1]) - 1;
      users.insert(users.begin() + static_cast<std::ptrdiff_t>(index), dictionary(change[2]));
    }
  }

  void take(const std::string& who) {
    const auto found = std::ranges::find(users, who, identity);
    if (found == users.end()) throw std::runtime_error("Nobody here is " + who);
    users.erase(found);
  }
};

}  // namespace gatehall
