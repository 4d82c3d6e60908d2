#pragma once

#include <algorithm>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace gatehall {

/// A machine and what happens there, made up from a number: accounts of every kind come, go and
/// change, log in and out, hours begin and end, settings and languages change, directories go away.
/// Whoever asks for the same number gets the same.
class RandomWorld {
 public:
  using Json = nlohmann::ordered_json;

  explicit RandomWorld(unsigned seed) : mEngine(seed) {
    makeWorld();
    for (auto count = 2 + below(9); count > 0; --count) addEvent();
    settle();
  }

  std::string world() const { return mWorld.dump(); }
  std::string script() const { return mScript.dump(); }

 private:
  struct Person {
    std::string node;
    std::string name;
    int userID;
  };

  std::size_t below(std::size_t limit) { return mEngine() % limit; }
  bool oneIn(std::size_t count) { return below(count) == 0; }

  template <class Element>
  const Element& oneOf(const std::vector<Element>& elements) {
    return elements[below(elements.size())];
  }

  std::string fullName() {
    static const std::vector<std::string> kNames = {"Ann",   "ann", "Åsa",   "Ärla", "Bob",
                                                    "Zoe",   "Ÿ",   "Carol", "王芳", "Жук",
                                                    "d'Arc", "",    "Ann ",  "Bo-b", "É"};
    auto name = oneOf(kNames);
    if (oneIn(2)) name += " " + oneOf(kNames);
    return name;
  }

  Json newUser(const std::string& node) {
    const int userID = oneIn(6) ? 100 + static_cast<int>(below(500)) : 1000 + mNextUser;
    const auto name = "user" + std::to_string(mNextUser++);
    mPeople.push_back({node, name, userID});
    Json attributes{{"RecordName", name},       {"UniqueID", userID},
                    {"PrimaryGroupID", 100},    {"FullName", fullName()},
                    {"UserShell", "/bin/bash"}, {"NFSHomeDirectory", "/home/" + name},
                    {"Password", "********"}};
    if (!oneIn(5)) attributes["GUID"] = "00000000-0000-4000-8000-" + padded(mNextUser);
    if (oneIn(3)) attributes["Picture"] = "/faces/" + name;
    if (oneIn(3)) attributes["TavloSettings"] = "session limits";
    if (oneIn(8)) attributes["UserShell"] = "/bin/false";
    if (oneIn(8)) attributes["lxAttrTypeNative:_guest"] = "true";
    if (node == kLocal && oneIn(6)) {
      attributes["AuthenticationAuthority"] = ";LocalCachedUser;";
      attributes["OriginalNodeName"] = kNetwork;
      attributes["CopyTimestamp"] = "2026-01-05T08:00:00Z";
    } else if (node == kLocal) {
      attributes["AuthenticationAuthority"] = ";ShadowHash;";
    }
    return attributes;
  }

  static std::string padded(int number) {
    auto text = std::to_string(number);
    return std::string(12 - text.size(), '0') + text;
  }

  void makeWorld() {
    auto local = Json::array();
    auto network = Json::array();
    for (auto count = below(7); count > 0; --count) {
      local.push_back({{"type", "Users"}, {"attributes", newUser(kLocal)}, {"password", "x"}});
    }
    for (auto count = below(4); count > 0; --count) {
      network.push_back({{"type", "Users"}, {"attributes", newUser(kNetwork)}, {"password", "x"}});
    }
    local.push_back({{"type", "Groups"},
                     {"attributes",
                      {{"RecordName", "admin"},
                       {"GUID", "00000000-0000-4000-8000-00000000AD31"},
                       {"GroupMembership", Json::array({"root", "user0"})}}}});
    mWorld = {
        {"directory",
         {{"localNode", kLocal},
          {"searchNode", {{"name", "search"}, {"covers", Json::array({kLocal, "unix", kNetwork})}}},
          {"nodes", Json::array({{{"name", kLocal}, {"records", local}},
                                 {{"name", "unix"}},
                                 {{"name", kNetwork}, {"records", network}}})}}},
        {"sessions", {{"current", 1}, {"list", Json::array()}}}};
    mWorld["sessions"]["list"].push_back({{"id", 1}, {"userID", 0}, {"loginDone", false}});
    if (oneIn(3)) mWorld["preferences"] = preferences();
    if (oneIn(5)) {
      mWorld["faults"] = Json::array({{{"operation", oneIn(2) ? "copySessionList" : "query"},
                                       {"call", 1 + below(kLatestFault)},
                                       {"raise", "platform"}}});
      mRefreshes = kLatestFault + 1;
    }
  }

  Json preferences() {
    Json settings = Json::object();
    if (oneIn(2)) settings["HideAdminUsers"] = oneIn(2);
    if (oneIn(2)) settings["Hide500Users"] = oneIn(2);
    if (oneIn(2)) settings["HideMobileAccounts"] = oneIn(2);
    if (oneIn(2)) settings["HiddenUsersList"] = Json::array({"user1", "user3"});
    return {{"com.orvane.gatehall", {{"system", settings}}}};
  }

  void add(Json event) {
    static const std::vector<double> kPauses = {0, 0, 0.2, 0.5, 0.9, 1, 1.1, 3};
    Json step{{"after", oneOf(kPauses)}};
    step.update(event);
    mScript.push_back(std::move(step));
  }

  void addEvent() {
    switch (below(13)) {
      case 0:
      case 1: {
        const std::string node = oneIn(5) ? kNetwork : kLocal;
        auto attributes = newUser(node);
        return add({{"addUser", {{"node", node}, {"attributes", attributes}, {"password", "x"}}}});
      }
      case 2:
      case 3:
        if (!mPeople.empty()) {
          const auto& who = oneOf(mPeople);
          mRefreshes = std::max<std::size_t>(mRefreshes, 1);
          return add({{"changeUser",
                       {{"node", who.node},
                        {"name", who.name},
                        {"attributes", {{"FullName", fullName()}}}}}});
        }
        break;
      case 4:
        if (!mPeople.empty()) {
          const auto index = below(mPeople.size());
          const auto who = mPeople[index];
          mPeople.erase(mPeople.begin() + static_cast<std::ptrdiff_t>(index));
          return add({{"removeUser", {{"node", who.node}, {"name", who.name}}}});
        }
        break;
      case 5:
      case 6:
        if (!mPeople.empty()) {
          const auto& who = oneOf(mPeople);
          const int session = mNextSession++;
          mSessions.push_back(session);
          add({{"openSession",
                {{"id", session},
                 {"userID", who.userID},
                 {"userName", who.name},
                 {"loginDone", !oneIn(6)}}}});
          if (oneIn(2)) add({{"currentSession", session}});
          return;
        }
        break;
      case 7:
        if (!mSessions.empty()) {
          const auto index = below(mSessions.size());
          const auto session = mSessions[index];
          mSessions.erase(mSessions.begin() + static_cast<std::ptrdiff_t>(index));
          add({{"currentSession", 1}});
          return add({{"closeSession", session}});
        }
        break;
      case 8:
        if (!mPeople.empty()) {
          const auto who = std::to_string(oneOf(mPeople).userID);
          const bool isAllowed = oneIn(2);
          Json limit{{"allowed", isAllowed}};
          if (!isAllowed) limit["result"] = 3;
          if (oneIn(2)) limit["nextCurfew"] = "2026-01-02T07:00:0" + std::to_string(below(9)) + "Z";
          return add({{"parentalControls", {{who, oneIn(4) ? Json() : limit}}}});
        }
        break;
      case 9:
        mRefreshes = std::max<std::size_t>(mRefreshes, 1);
        return add({{"preferences", preferences()}});
      case 10:
        return add({{"locale", oneIn(2) ? "sv_SE.UTF-8" : "de_DE.UTF-8"}});
      case 11:
        return add(
            {{"directory", {{"unreachable", oneIn(2) ? Json::array({kNetwork}) : Json::array()}}}});
      default:
        if (oneIn(2)) return refresh();
        mRefreshes = std::max<std::size_t>(mRefreshes, 1);
        return add({{"managed",
                     {{"com.orvane.gatehall",
                       oneIn(2) ? Json({{"HideAdminUsers", oneIn(2)}}) : Json()}}}});
    }
    refresh();
  }

  void refresh() { add({{"post", {{"name", "com.orvane.gatehall.refreshuserlist"}}}}); }

  /// Where something fails on the way, the list is built until that is over: each time asks once.
  /// Some news take a second one with watch, which the service builds by itself: new settings count
  /// in part later, and who has a new name keeps the place, or without a GUID the name.
  void settle() {
    for (; mRefreshes > 0; --mRefreshes) {
      mScript.push_back(
          {{"after", 3}, {"post", {{"name", "com.orvane.gatehall.refreshuserlist"}}}});
    }
  }

  static constexpr const char* kLocal = "local";
  static constexpr std::size_t kLatestFault = 4;
  static constexpr const char* kNetwork = "ldap/school";

  std::mt19937 mEngine;
  Json mWorld;
  Json mScript = Json::array();
  std::vector<Person> mPeople;
  std::vector<int> mSessions;
  int mNextUser = 0;
  int mNextSession = 2;
  std::size_t mRefreshes = 0;
};

}  // namespace gatehall
