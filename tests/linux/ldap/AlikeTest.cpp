#include <nlohmann/json.hpp>
#include <random>
#include <unistd.h>

#include "ctl/print/Json.h"
#include "ctl/verbs/Verbs.h"
#include "gatehall/linux/LinuxPlatform.h"
#include "instrumented/InstrumentedPlatform.h"
#include "instrumented/RecordingLoginService.h"
#include "switcher/SwitchFlow.h"
#include "tests/ctl/Run.h"
#include "tests/linux/ldap/fixture/LdapMachine.h"

// One directory, made up at random, as a world and in servers: gatehallctl says the same of both.

namespace gatehall {
namespace {

using Json = nlohmann::ordered_json;

struct Person {
  Strings names;
  std::string fullName;
  std::string guid;
  std::uint32_t userID = 0;
  std::string shell;  ///< "": none
};

struct Team {
  std::string name;
  std::string guid;
  std::vector<std::size_t> members;  ///< people of its node
  std::vector<std::size_t> nested;   ///< teams of its node
  Strings memberNames;               ///< login names, of anybody or nobody
};

struct Node {
  std::string name;
  std::vector<Person> people;
  std::vector<Team> teams;
};

class Chance {
 public:
  explicit Chance(unsigned seed) : mEngine(seed) {}
  std::size_t below(std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(mEngine);
  }
  bool oneIn(std::size_t count) { return below(count) == 0; }

  std::string word() {
    static const Strings kSyllables{"an",  "bo", "ÿå",    "ßt",      "Σω",   "κρά", "Жу",
                                    "ков", "王", "芳",    "شي",      "नमः",  "é",   "'n'",
                                    "-",   "Mc", "(x)",   "a*b",     "&",    "\\",  ", ",
                                    "#",   "=",  "\"q\"", "e\u0301", "한글", "𝒳"};
    std::string text;
    for (auto count = 1 + below(4); count > 0; --count)
      text += kSyllables[below(kSyllables.size())];
    return text;
  }

 private:
  std::mt19937 mEngine;
};

std::string guidOf(int node, char kind, std::size_t number) {
  std::array<char, 40> text{};
  std::snprintf(text.data(), text.size(), "6C6B2F1E-%04d-4000-800%c-%012zu", node, kind, number);
  return text.data();
}

std::vector<Node> madeUp(unsigned seed) {
  Chance chance(seed);
  std::vector<Node> nodes;
  for (int number = 0; number < 2; ++number) {
    Node node{number == 0 ? "one" : "two", {}, {}};
    for (std::size_t index = 0; index < 30; ++index) {
      // Some names and ids are those of the other node's people, too.
      const bool isDouble = number == 1 && chance.oneIn(4);
      const auto& twin = isDouble ? nodes[0].people[index] : Person();
      Person person{
          isDouble ? twin.names
                   : Strings{"u" + std::to_string(static_cast<std::size_t>(number) * 100 + index) +
                             chance.word()},
          chance.word() + " " + std::to_string(index), guidOf(number, '0', index),
          isDouble ? twin.userID
                   : static_cast<std::uint32_t>(5000 + number * 1000) +
                         static_cast<std::uint32_t>(index),
          chance.oneIn(5)   ? ""
          : chance.oneIn(6) ? "/bin/unheard"
                            : "/bin/bash"};
      if (!isDouble && chance.oneIn(4)) person.names.push_back("x" + person.names.front());
      node.people.push_back(std::move(person));
    }
    std::ranges::sort(node.people, {}, [](const Person& each) { return each.names.front(); });
    for (std::size_t index = 0; index < 12; ++index) {
      Team team{"team" + std::to_string(10 + index), guidOf(number, '1', index), {}, {}, {}};
      for (auto count = chance.below(8); count > 0; --count)
        team.members.push_back(chance.below(30));
      for (auto count = chance.below(3); count > 0; --count)
        team.nested.push_back(chance.below(12));
      if (chance.oneIn(2)) team.memberNames.push_back("nobody");
      if (chance.oneIn(2) && number == 1) {
        team.memberNames.push_back(nodes[0].people[chance.below(30)].names.front());
      }
      for (auto* list : {&team.members, &team.nested}) {
        std::ranges::sort(*list);
        list->erase(std::unique(list->begin(), list->end()), list->end());
      }
      if (team.members.empty() && team.nested.empty()) team.nested.push_back(index);
      node.teams.push_back(std::move(team));
    }
    nodes.push_back(std::move(node));
  }
  return nodes;
}

std::string ldifOf(const Node& node) {
  std::string text;
  const auto dnOf = [](const Person& person) {
    // Any name may stand in a DN once what means something there is escaped.
    std::string value;
    for (const char c : person.names.front()) {
      std::array<char, 4> escaped{};
      std::snprintf(escaped.data(), escaped.size(), "\\%02x", static_cast<unsigned char>(c));
      value += escaped.data();
    }
    return userDN(value);
  };
  for (const auto& person : node.people) {
    text += ldifLine("dn", dnOf(person)) +
            "objectClass: inetOrgPerson\nobjectClass: posixAccount\nsn: x\ngidNumber: 100\n"
            "homeDirectory: /home/x\nuidNumber: " +
            std::to_string(person.userID) + "\nentryUUID: " + person.guid + "\n" +
            ldifLine("cn", person.fullName);
    for (const auto& name : person.names) text += ldifLine("uid", name);
    if (!person.shell.empty()) text += "loginShell: " + person.shell + "\n";
    text += "\n";
  }
  for (const auto& team : node.teams) {
    LdifGroup group{team.name, 200, {}, team.memberNames, team.guid};
    for (const auto member : team.members) group.members.push_back(dnOf(node.people[member]));
    for (const auto nested : team.nested) {
      group.members.push_back(groupDN(node.teams[nested].name));
    }
    text += gatehall::ldifOf(group);
  }
  return text;
}

Json worldOf(const std::vector<Node>& nodes) {
  Json covered = {"local", "unix"};
  const Json admins = {
      {"type", "Groups"},
      {"attributes",
       {{"RecordName", "admin"}, {"GUID", guidOf(9, '1', 0)}, {"GroupMembership", {"root"}}}}};
  Json all =
      Json::array({{{"name", "local"}, {"records", Json::array({admins})}}, {{"name", "unix"}}});
  for (const auto& node : nodes) {
    const auto name = "ldap/" + node.name;
    covered.push_back(name);
    Json records = Json::array();
    for (const auto& person : node.people) {
      Json attributes = {{"RecordName", person.names},
                         {"UniqueID", person.userID},
                         {"GUID", person.guid},
                         {"FullName", person.fullName},
                         {"PrimaryGroupID", "100"},
                         {"NFSHomeDirectory", "/home/x"},
                         {"AuthenticationAuthority", ";LDAP;"},
                         {"Password", "********"}};
      if (!person.shell.empty()) {
        attributes["UserShell"] = person.shell == "/bin/bash" ? "/bin/bash" : "/usr/bin/false";
      }
      records.push_back({{"type", "Users"}, {"attributes", attributes}});
    }
    for (const auto& team : node.teams) {
      Json names = team.memberNames;
      Json nested = Json::array();
      for (const auto member : team.members) names.push_back(node.people[member].names.front());
      for (const auto each : team.nested) nested.push_back(node.teams[each].guid);
      records.push_back({{"type", "Groups"},
                         {"attributes",
                          {{"RecordName", team.name},
                           {"GUID", team.guid},
                           {"PrimaryGroupID", "200"},
                           {"GroupMembership", names},
                           {"NestedGroups", nested}}}});
    }
    all.push_back({{"name", name}, {"records", records}});
  }
  return {{"process", {{"effectiveUserID", geteuid()}}},
          {"directory",
           {{"localNode", "local"},
            {"searchNode", {{"name", "search"}, {"covers", covered}}},
            {"nodes", all}}}};
}

class LdapAlike : public testing::TestWithParam<unsigned> {
 protected:
  LdapAlike()
      : nodes(madeUp(GetParam())),
        one({.ldif = ldifOf(nodes[0])}),
        two({.ldif = ldifOf(nodes[1])}) {
    machine.write("/etc/passwd", "");
    machine.configure(LdapMachine::table("one", LdapMachine::quoted(one.uri())) +
                      LdapMachine::table("two", LdapMachine::quoted(two.uri())));
    machine.options.systemBusAddress = "unix:path=" + machine.path("/no bus");
    world.write("/test.world.json", worldOf(nodes).dump());
  }

  Json inTheWorld(const Strings& words) const {
    Strings all{"--world", world.path("/test.world.json"), "--json"};
    all.insert(all.end(), words.begin(), words.end());
    return Json::parse(run(all).output);
  }

  Json onTheMachine(const Strings& words) {
    const ctl::Host host({}, Trace::Keeps::LastOperation);
    Platform::install(
        std::make_shared<LinuxPlatform>(machine.linuxOptions(), std::make_shared<KeptLog>()));
    const Strings operands(words.begin() + 1, words.end());
    const ctl::Screen screen;
    return ctl::verbNamed(words.front())
        ->run(host, {.operands = operands, .json = true, .screen = screen})
        .json;
  }

  /// What the login service is asked for; it is not asked.
  Json switchesOnTheMachine(const std::string& userID) {
    const auto loginService = std::make_shared<RecordingLoginService>();
    const auto log = std::make_shared<KeptLog>();
    Platform::install(std::make_shared<InstrumentedPlatform>(
        std::make_shared<LinuxPlatform>(machine.linuxOptions(), log), std::vector<Fault>(), nullptr,
        InstrumentedPlatform::Substitutes{.loginService = loginService, .log = log, .text = {}}));
    runSwitch(std::array<std::string_view, 2>{"-switchToUserID", userID});
    Platform::install(nullptr);
    Json requests = Json::array();
    for (const auto& request : loginService->requests()) {
      requests.push_back(
          {{"operation", request.operation}, {"attributes", ctl::toJson(request.attributes)}});
    }
    return requests;
  }

  void expectAlike(const Strings& words, std::string_view part = "") {
    auto expected = inTheWorld(words);
    auto found = onTheMachine(words);
    if (!part.empty()) {
      expected = expected[part];
      found = found[part];
    }
    EXPECT_EQ(found.dump(1), expected.dump(1)) << description(words);
  }

  std::vector<Node> nodes;
  Slapd one;
  Slapd two;
  LdapMachine machine;
  Folder world;
};

}  // namespace

TEST_P(LdapAlike, VerbsAnswerTheSame) {
  expectAlike({"network-users"}, "users");
  EXPECT_GT(inTheWorld({"network-users"})["users"].size(), 30U);
  Strings everybody{"expand"};
  for (const auto& node : nodes) {
    for (const auto& team : node.teams) {
      expectAlike({"expand", team.guid}, "guids");
      everybody.push_back(team.guid);
    }
    everybody.push_back(node.people[3].guid);
  }
  everybody.push_back("6C6B2F1E-9999-4000-8000-000000000000");
  expectAlike(everybody, "guids");
  Strings ids{"can-log-in"};
  for (const auto& node : nodes) {
    for (std::size_t index = 0; index < node.people.size(); index += 3) {
      ids.push_back(std::to_string(node.people[index].userID));
    }
  }
  // Which file a setting stands in is the world's own.
  auto decided = onTheMachine(ids);
  auto expected = inTheWorld(ids);
  for (auto* each : {&decided, &expected}) {
    for (auto& user : (*each)["users"]) user["file"] = user["line"] = nullptr;
  }
  EXPECT_EQ(decided.dump(1), expected.dump(1));
  for (const auto index : {0U, 7U, 20U}) {
    const auto id = std::to_string(nodes[1].people[index].userID);
    expectAlike({"user", id});
    EXPECT_EQ(switchesOnTheMachine(id).dump(1),
              inTheWorld({"switch", "-switchToUserID", id})["loginService"].dump(1));
  }
  for (const auto* verb : {"users", "admins"}) expectAlike({verb}, "users");
  for (const auto* verb : {"network", "prefs"}) expectAlike({verb});
  // Where a server is and how fast stands only where there is one.
  auto directories = onTheMachine({"directories"});
  for (auto& node : directories["directories"])
    node["server"] = node["roundTripMilliseconds"] = nullptr;
  EXPECT_EQ(directories.dump(1), inTheWorld({"directories"}).dump(1));
}

INSTANTIATE_TEST_SUITE_P(MadeUp, LdapAlike, testing::Values(1U, 2U));

}  // namespace gatehall
