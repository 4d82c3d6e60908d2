#pragma once

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "gatehall/platform/AttributeKinds.h"
#include "world/World.h"

namespace gatehall::bench {

inline std::string guid(unsigned kind, unsigned number) {
  char text[37];
  std::snprintf(text, sizeof text, "%08X-0000-4000-8000-%012X", kind, number);
  return text;
}

inline std::string userGUID(unsigned number) { return guid(1, number); }
inline std::string groupGUID(unsigned number) { return guid(2, number); }

/// Full names come in an order that has nothing to do with the users' own.
inline std::string fullName(unsigned number) {
  static constexpr const char* given[] = {"Zoë",  "ann",  "Bob",    "Émile",
                                          "dana", "Erin", "Øyvind", "李"};
  const unsigned shuffled = number * 2654435761U;
  return std::string(given[shuffled % std::size(given)]) + " Person " +
         std::to_string(shuffled % 1000003U);
}

inline RecordDescription user(unsigned number) {
  const auto id = std::to_string(1000 + number);
  const auto name = "user" + std::to_string(number);
  return {.type = std::string(record::Users),
          .attributes = {{std::string(attribute::RecordName), {name, name + "-alias"}},
                         {std::string(attribute::UniqueID), {id}},
                         {std::string(attribute::GUID), {userGUID(number)}},
                         {std::string(attribute::FullName), {fullName(number)}},
                         {std::string(attribute::PrimaryGroupID), {"100"}},
                         {std::string(attribute::UserShell), {"/bin/bash"}},
                         {std::string(attribute::NFSHomeDirectory), {"/home/" + name}},
                         {std::string(attribute::AuthenticationAuthority), {";ShadowHash;"}},
                         {std::string(attribute::Password), {"********"}}},
          .password = {},
          .policy = {}};
}

/// A machine with that many local users, installed.
inline std::shared_ptr<World> installWorld(unsigned users) {
  auto world = std::make_shared<World>();
  const auto node = world->directory().addNode("local");
  world->directory().setLocalNode("local");
  world->directory().setSearchNode("search", {"local"});
  for (unsigned number = 0; number < users; ++number) node->addRecord(user(number));
  Platform::install(world);
  return world;
}

/// The time of one call, in seconds, of a round of that many calls.
template <class Call>
double secondsPerCall(unsigned calls, Call call) {
  const auto start = std::chrono::steady_clock::now();
  for (unsigned each = 0; each < calls; ++each) call(each);
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
  return taken.count() / calls;
}

}  // namespace gatehall::bench
