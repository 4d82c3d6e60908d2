#include <cctype>
#include <cstdint>
#include <filesystem>
#include <gmock/gmock.h>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "linux/files/FaultLog.h"
#include "linux/preferences/LinuxPropertyLists.h"
#include "linux/preferences/PolicyFileContent.h"
#include "tests/linux/UnusableFiles.h"
#include "tests/linux/preferences/PropertyListText.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

const std::string kManaged = "/Library/Managed Preferences/com.orvane.gatehall.plist";
const std::string kManagedHere = "/etc/gatehall/managed/com.orvane.gatehall.plist";
const std::string kTavlo = "/Library/Managed Preferences/com.orvane.Tavlo.plist";
const std::string kSystem = "/etc/gatehall/com.orvane.gatehall.plist";
const std::string kErin = "5C400100-8D1F-4E7A-9B36-0000000020A0";
const std::string kDana = "6c6b2f1e-0001-4002-8003-ffeeddcc1001";

class PolicySettings : public testing::Test {
 protected:
  /// What is read, as text, or why nothing is.
  std::string answer(const std::string& path) {
    try {
      const auto settings = readPolicySettings(machine.options, path, faults);
      return settings ? description(*settings) : "absent";
    } catch (const PlatformException& error) {
      return error.what();
    }
  }
  std::string answerTo(const Value& content, const std::string& path = kManaged) {
    machine.write(path, PropertyListText::of(content));
    return answer(path);
  }

  Machine machine;
  FaultLog faults{machine.log};
};

TEST_F(PolicySettings, AreThoseOfTheFile) {
  EXPECT_EQ(answer(kManaged), "absent");
  EXPECT_EQ(answerTo(Dictionary{{"AllowList", Array{"*"}},
                                {"DenyList", Array{kErin, kDana}},
                                {"HiddenUsersList", Array{"backup", "Zoe"}},
                                {"Hide500Users", "YES"},
                                {"HideAdminUsers", false},
                                {"HideLocalUsers", 0},
                                {"HideMobileAccounts", 1},
                                {"LocalUserLoginEnabled", "false"},
                                {"StrictAllowList", true},
                                {"com.orvane.login.tavlo.DisableAutoLoginClient", true}}),
            "{AllowList = (*); DenyList = (" + kErin + ", " + kDana +
                "); HiddenUsersList = (backup, Zoe); Hide500Users = YES; HideAdminUsers = 0; "
                "HideLocalUsers = 0; HideMobileAccounts = 1; LocalUserLoginEnabled = false; "
                "StrictAllowList = 1; com.orvane.login.tavlo.DisableAutoLoginClient = 1; }");
  EXPECT_EQ(answerTo(Dictionary{{"DenyList", Array()}}), "{DenyList = (); }");
  EXPECT_THAT(machine.log.lines(), IsEmpty());
}

TEST_F(PolicySettings, ThatCanNotBeMeantAreNamedWithFileAndKey) {
  const std::string guidsAreWanted = " is neither * nor a GUID, which gatehallctl guid shows";
  const std::pair<Dictionary, std::string> cases[] = {
      {{{"DenyList", kErin}}, "DenyList: it is no list"},
      {{{"AllowList", true}}, "AllowList: it is no list"},
      {{{"HiddenUsersList", "backup"}}, "HiddenUsersList: it is no list"},
      {{{"HiddenUsersList", Array{"a", 5}}}, "HiddenUsersList: entry 2 is no text"},
      {{{"DenyList", Array{kErin, 5}}}, "DenyList: entry 2 is no text"},
      {{{"DenyList", Array{Array{kErin}}}}, "DenyList: entry 1 is no text"},
      {{{"DenyList", Array{"erin"}}}, "DenyList: entry 1 \"erin\"" + guidsAreWanted},
      {{{"AllowList", Array{"*", " " + kErin}}},
       "AllowList: entry 2 \" " + kErin + "\"" + guidsAreWanted},
      {{{"DenyList", Array{kErin + "\n"}}},
       "DenyList: entry 1 \"" + kErin + "?\"" + guidsAreWanted},
      {{{"DenyList", Array{"{" + kErin + "}"}}},
       "DenyList: entry 1 \"{" + kErin + "}\"" + guidsAreWanted},
      {{{"DenyList", Array{""}}}, "DenyList: entry 1 \"\"" + guidsAreWanted},
      {{{"DenyList", Array{"* "}}}, "DenyList: entry 1 \"* \"" + guidsAreWanted},
      {{{"DenyList", Array{"5C4001008D1F4E7A9B360000000020A0"}}},
       "DenyList: entry 1 \"5C4001008D1F4E7A9B360000000020A0\"" + guidsAreWanted},
      {{{"DenyList", Array{kErin.substr(1)}}},
       "DenyList: entry 1 \"" + kErin.substr(1) + "\"" + guidsAreWanted},
      {{{"LocalUserLoginEnabled", "off"}}, "LocalUserLoginEnabled: it is no boolean"},
      {{{"LocalUserLoginEnabled", 2}}, "LocalUserLoginEnabled: it is no boolean"},
      {{{"LocalUserLoginEnabled", -1}}, "LocalUserLoginEnabled: it is no boolean"},
      {{{"LocalUserLoginEnabled", 0.5}}, "LocalUserLoginEnabled: it is no boolean"},
      {{{"StrictAllowList", "on"}}, "StrictAllowList: it is no boolean"},
      {{{"Hide500Users", Array{true}}}, "Hide500Users: it is no boolean"},
      {{{"HideAdminUsers", ""}}, "HideAdminUsers: it is no boolean"},
      {{{"HideLocalUsers", Data{1}}}, "HideLocalUsers: it is no boolean"},
      {{{"HideMobileAccounts", Dictionary()}}, "HideMobileAccounts: it is no boolean"},
      {{{"com.orvane.login.tavlo.DisableAutoLoginClient", "x"}},
       "com.orvane.login.tavlo.DisableAutoLoginClient: it is no boolean"},
      {{{"DenyLists", Array{kErin}}}, "DenyLists: it is no setting; did you mean DenyList?"},
      {{{"denylist", Array{kErin}}}, "denylist: it is no setting; did you mean DenyList?"},
      {{{"StrictAlowList", true}},
       "StrictAlowList: it is no setting; did you mean StrictAllowList?"},
  };
  for (const auto& path : {kManaged, kManagedHere, kSystem}) {
    for (const auto& [settings, expected] : cases) {
      EXPECT_EQ(answerTo(settings, path), path + ":1: " + expected);
    }
    EXPECT_EQ(answerTo(Array{"*"}, path), path + ": it holds no dictionary");
  }
  EXPECT_THAT(machine.log.lines(), IsEmpty());
}

TEST_F(PolicySettings, AreNamedWithTheirLine) {
  machine.write(kManaged,
                "<plist>\n<dict>\n<key>Hide500Users</key>\n<true/>\n\n"
                "<key>DenyList</key>\n<array>\n<string>erin</string>\n</array></dict></plist>");
  EXPECT_THAT(answer(kManaged), StartsWith(kManaged + ":6: DenyList: entry 1"));
  machine.write(kManaged,
                "<plist>\n<dict>\n<key>a</key>\n<true/>\n<key>a</key>\n<true/></dict></plist>");
  EXPECT_EQ(answer(kManaged), kManaged + ": line 5: the key \"a\" a second time");
}

TEST_F(PolicySettings, ThatAreUnknownAreReportedOnceWithTheNearestThatIs) {
  for (int time = 0; time < 2; ++time) {
    EXPECT_EQ(answerTo(Dictionary{{"DeniedList", Array{kErin}}}),
              "{DeniedList = (" + kErin + "); }");
  }
  EXPECT_THAT(machine.log.lines(),
              ElementsAre(kManaged + ":1: DeniedList: it is no setting; did you mean DenyList?"));
}

TEST_F(PolicySettings, OfTavloStandBesideThoseOfOthers) {
  EXPECT_EQ(answerTo(Dictionary{{"DenyLists", 1}}, kTavlo), "{DenyLists = 1; }");
  EXPECT_EQ(answerTo(Dictionary{{"com.orvane.login.tavlo.DisableAutoLoginClient", "x"}}, kTavlo),
            kTavlo + ":1: com.orvane.login.tavlo.DisableAutoLoginClient: it is no boolean");
  EXPECT_EQ(answerTo(Dictionary{{"com.orvane.login.tavlo.DisableAutoLoginCliend", true}}, kTavlo),
            kTavlo +
                ":1: com.orvane.login.tavlo.DisableAutoLoginCliend: it is no setting; did you "
                "mean com.orvane.login.tavlo.DisableAutoLoginClient?");
  EXPECT_THAT(machine.log.lines(), IsEmpty());
}

TEST_F(PolicySettings, OfSomebodyElseHoldWhatTheyLike) {
  EXPECT_EQ(answerTo(Dictionary{{"DenyLists", 1}}, "/etc/gatehall/com.orvane.other.plist"),
            "{DenyLists = 1; }");
  EXPECT_THAT(machine.log.lines(), IsEmpty());
}

TEST_F(PolicySettings, ThatAreManagedAreLookedForInTheFolderOfTheMachineFirst) {
  LinuxPropertyLists lists(machine.options, machine.log);
  EXPECT_EQ(lists.readPropertyList(kManaged), std::nullopt);
  machine.write(kManaged, PropertyListText::of(Dictionary{{"DenyList", Array{kErin}}}));
  EXPECT_EQ(lists.readPropertyList(kManaged), (Dictionary{{"DenyList", Array{kErin}}}));
  machine.write(kManagedHere, PropertyListText::of(Dictionary{{"DenyList", Array{kDana}}}));
  EXPECT_EQ(lists.readPropertyList(kManaged), (Dictionary{{"DenyList", Array{kDana}}}));
  machine.write(kManagedHere, "");
  for (int time = 0; time < 2; ++time) {
    EXPECT_THROW(lists.readPropertyList(kManaged), PlatformException)
        << "the other stands in for none";
  }
  machine.remove(kManagedHere);
  EXPECT_EQ(lists.readPropertyList(kManaged), (Dictionary{{"DenyList", Array{kErin}}}));
}

class UnusablePolicySettings
    : public testing::TestWithParam<std::tuple<UnusableFile, std::string>> {};

TEST_P(UnusablePolicySettings, RaiseWithTheReason) {
  const auto& [way, path] = GetParam();
  Machine machine;
  LinuxPropertyLists lists(machine.options, machine.log);
  machine.write(path, PropertyListText::of(Dictionary{{"DenyList", Array{"*"}}}));
  const auto obstacle = way.make(machine, path);
  if (!obstacle.empty()) GTEST_SKIP() << obstacle;
  for (int time = 0; time < 2; ++time) {
    try {
      lists.readPropertyList("/Library/Managed Preferences/" + path.substr(path.rfind('/') + 1));
      FAIL() << "nothing was raised";
    } catch (const PlatformException& error) {
      EXPECT_EQ(error.what(), path + ": " + way.reasonFor(path));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(EveryWay, UnusablePolicySettings,
                         testing::Combine(testing::ValuesIn(UnusableFile::all()),
                                          testing::Values(kManaged, kManagedHere, kTavlo)));

/// A policy file of which one byte at a time is damaged, or the end is missing.
class DamagedPolicy : public PolicySettings {
 protected:
  static Dictionary meant() {
    return {{"DenyList", Array{kErin, kDana}}, {"LocalUserLoginEnabled", false}};
  }

  /// Of what is read of the bytes.
  enum class Outcome { Refused, Same, Other };

  Outcome outcome(const std::string& bytes) {
    machine.write(kManaged, bytes);
    try {
      const auto settings = readPolicySettings(machine.options, kManaged, faults);
      return settings == meant() ? Outcome::Same : Outcome::Other;
    } catch (const PlatformException&) {
      return Outcome::Refused;
    }
  }

  /// Flips each bit of each byte. Nothing but the bits in places where that can't be told, as one
  /// good value becomes another, may come out as something else.
  void flipEveryBit(const std::string& whole,
                    const std::set<std::pair<std::size_t, unsigned>>& places) {
    ASSERT_EQ(outcome(whole), Outcome::Same);
    std::set<std::pair<std::size_t, unsigned>> others;
    for (std::size_t at = 0; at < whole.size(); ++at) {
      for (unsigned bit = 0; bit < 8; ++bit) {
        auto damaged = whole;
        damaged[at] = static_cast<char>(static_cast<unsigned char>(damaged[at]) ^ 1U << bit);
        if (outcome(damaged) == Outcome::Other) others.emplace(at, bit);
      }
    }
    EXPECT_EQ(others, places);
    // A damaged name of a setting is no other setting that is only reported.
    EXPECT_THAT(machine.log.lines(), IsEmpty());
  }

  /// The bits by which a digit of one of the GUIDs becomes another digit, or the same in the other
  /// case.
  static std::set<std::pair<std::size_t, unsigned>> guidDigits(const std::string& whole) {
    std::set<std::pair<std::size_t, unsigned>> places;
    for (const auto& guid : {kErin, kDana}) {
      const auto start = whole.find(guid);
      for (std::size_t at = start; at < start + guid.size(); ++at) {
        for (unsigned bit = 0; bit < 8; ++bit) {
          const auto other = static_cast<unsigned char>(whole[at]) ^ 1U << bit;
          if (whole[at] != '-' && other < 128 && std::isxdigit(static_cast<int>(other)) != 0) {
            places.emplace(at, bit);
          }
        }
      }
    }
    return places;
  }
};

std::string damagedXML() {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<!DOCTYPE plist PUBLIC \"-//A//DTD PLIST 1.0//EN\" \"http://a/b-1.0.dtd\">\n"
         "<plist version=\"1.0\">\n<dict>\n<!-- erin and dana -->\n<key>DenyList</key>\n<array>\n"
         "  <string>" +
         kErin + "</string>\n  <string>" + kDana +
         "</string>\n</array>\n<!-- nobody else -->\n"
         "<key>LocalUserLoginEnabled</key>\n<false/>\n</dict>\n</plist>\n";
}

TEST_F(DamagedPolicy, InXMLIsRefusedOrMeansTheSame) {
  const auto whole = damagedXML();
  // A GUID of which a digit changed is another GUID: that alone can't be told.
  flipEveryBit(whole, guidDigits(whole));
}

TEST_F(DamagedPolicy, InXMLThatIsCutIsRefusedOrMeansTheSame) {
  const auto whole = damagedXML();
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const bool isOnlyTheLastLineFeed = length + 1 == whole.size();
    EXPECT_EQ(outcome(whole.substr(0, length)),
              isOnlyTheLastLineFeed ? Outcome::Same : Outcome::Refused)
        << length;
  }
}

std::string bigEndian(std::uint64_t number, std::size_t size) {
  std::string bytes(size, '\0');
  for (auto byte = bytes.rbegin(); byte != bytes.rend(); ++byte, number >>= 8U) {
    *byte = static_cast<char>(number & 0xFFU);
  }
  return bytes;
}

/// The same, as the usual writers lay it out; the boolean comes last.
std::string damagedBinary() {
  const auto text = [](const std::string& characters) {
    const auto length = static_cast<char>(characters.size());
    return (characters.size() < 15 ? std::string(1, static_cast<char>(0x50 + length))
                                   : std::string("\x5F\x10") + length) +
           characters;
  };
  const std::vector<std::string> objects = {
      "\xD2\1\2\3\6", text("DenyList"), text("LocalUserLoginEnabled"),
      "\xA2\4\5",     text(kErin),      text(kDana),
      "\x08"};
  std::string bytes = "bplist00";
  std::string table;
  for (const auto& object : objects) {
    table += bigEndian(bytes.size(), 1);
    bytes += object;
  }
  const auto tableAt = bytes.size();
  return bytes + table + std::string(6, '\0') + "\1\1" + bigEndian(objects.size(), 8) +
         bigEndian(0, 8) + bigEndian(tableAt, 8);
}

TEST_F(DamagedPolicy, InBinaryIsRefusedOrMeansTheSame) {
  const auto whole = damagedBinary();
  auto places = guidDigits(whole);
  // False is 8 and true is 9: the lowest bit of a boolean can't be told either.
  places.emplace(whole.find(kDana) + kDana.size(), 0);
  flipEveryBit(whole, places);
}

TEST_F(DamagedPolicy, InBinaryThatIsCutIsRefused) {
  const auto whole = damagedBinary();
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_EQ(outcome(whole.substr(0, length)), Outcome::Refused) << length;
  }
}

}  // namespace
}  // namespace gatehall
