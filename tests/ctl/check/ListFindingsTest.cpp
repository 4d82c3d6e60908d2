#include "base/Ascii.h"
#include "tests/ctl/check/CheckedMachine.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ListFindings : public CheckedMachine {
 protected:
  /// The GUID of an account of the machine.
  std::string guidOf(const std::string& name) {
    const auto record =
        machine.local()->recordByTypeAndName(record::Users, name, {std::string(attribute::GUID)});
    return record->valuesForAttribute(attribute::GUID)->front();
  }

  static std::string list(const std::string& key, const Strings& entries) {
    std::string text = "<key>" + key + "</key><array>";
    for (const auto& entry : entries) text.append("<string>").append(entry).append("</string>");
    return text + "</array>\n";
  }

  static std::string at(int line) { return std::string(kManaged) + ":" + std::to_string(line); }

  static constexpr const char* kNobody = "00000000-0000-4000-8000-00000000DEAD";
  static constexpr const char* kStrict = "<key>StrictAllowList</key><true/>";
};

TEST_F(ListFindings, AreNoneOfListsThatNameSomebody) {
  plist(kManaged, list("AllowList", {guidOf("bob")}) + list("DenyList", {guidOf("ann")}) +
                      list("HiddenUsersList", {"bob"}) + kStrict);
  EXPECT_THAT(findings(), IsEmpty());
}

TEST_F(ListFindings, AreEntriesThatNameNobody) {
  plist(kManaged, list("AllowList", {guidOf("bob"), kNobody}) +
                      list("DenyList", {kNobody, guidOf("ann")}) +
                      list("HiddenUsersList", {"bob", "bobby"}) + kStrict);
  EXPECT_THAT(
      findings(),
      ElementsAre("warning " + at(3) + " AllowList: entry 2, " + kNobody + ", names nobody",
                  "warning " + at(4) + " DenyList: entry 1, " + kNobody + ", names nobody",
                  "warning " + at(5) + " HiddenUsersList: entry 2, bobby, is nobody's login name",
                  "warning " + at(3) + " AllowList: entry 2, " + kNobody +
                      ", stands in DenyList as well, which wins"));
}

TEST_F(ListFindings, AreNoneOfGUIDsInTheOtherCase) {
  const auto lower = ascii::lower(guidOf("bob"));
  ASSERT_NE(lower, guidOf("bob"));
  plist(kManaged, list("AllowList", {lower}) + list("DenyList", {guidOf("ann")}) + kStrict);
  EXPECT_THAT(findings(), IsEmpty());
  plist(kManaged, list("AllowList", {lower}) + list("DenyList", {guidOf("bob"), lower}) + kStrict);
  EXPECT_THAT(findings(), ElementsAre("warning " + at(4) + " DenyList: entry 2, " + lower +
                                          ", stands there twice",
                                      "warning " + at(3) + " AllowList: entry 1, " + lower +
                                          ", stands in DenyList as well, which wins"));
}

TEST(ListFindingsOfAWorld, AreNoEntriesThatADirectoryMayHaveThatIsAway) {
  const auto world = [](const std::string& unreachable) {
    return R"({ "directory": { "localNode": "local", "searchNode": { "name": "search",
        "covers": ["local", "unix", "ldap/a", "ldap/b"], "unreachable": [)" +
           unreachable + R"(] },
        "nodes": [ { "name": "local" }, { "name": "unix" }, { "name": "ldap/a" }, { "name": "ldap/b" } ] },
      "managed": { "com.orvane.gatehall": { "HiddenUsersList": ["zoe"],
        "DenyList": ["00000000-0000-4000-8000-00000000DEAD"] } } })";
  };
  const auto whole = runIn(world(""), {"--json", "check"});
  EXPECT_EQ(documentOf(whole)["findings"].size(), 2U);
  const auto outcome = runIn(world(R"("ldap/a", "ldap/b")"), {"--json", "check"});
  EXPECT_THAT(documentOf(outcome)["findings"], IsEmpty());
  EXPECT_EQ(outcome.status, ctl::ExitStatus::Done);
  EXPECT_THAT(outcome.errors,
              testing::HasSubstr("whom DenyList: entry 1, 00000000-0000-4000-8000-00000000DEAD, "
                                 "names can't be told while ldap/a, ldap/b are away"));
  EXPECT_THAT(outcome.errors, testing::HasSubstr("whom HiddenUsersList: entry 1, zoe, names"));
}

TEST_F(ListFindings, AreAnAllowListThatIsNotStrict) {
  plist(kManaged, list("AllowList", {guidOf("bob")}));
  EXPECT_THAT(findings(), ElementsAre("warning " + at(3) +
                                      " AllowList without StrictAllowList admits everybody "
                                      "once it names nobody who is known"));
  plist(kManaged, list("AllowList", {"*"}));
  EXPECT_THAT(findings(), IsEmpty());
}

TEST_F(ListFindings, AreAnEmptyAllowList) {
  plist(kManaged, list("AllowList", {}));
  EXPECT_THAT(findings(),
              ElementsAre("warning " + at(3) + " AllowList is empty, which admits everybody"));
  plist(kManaged, list("AllowList", {}) + kStrict);
  EXPECT_THAT(findings(), ElementsAre("warning " + at(3) +
                                      " AllowList is empty: of network users, "
                                      "administrators alone may log in"));
}

TEST_F(ListFindings, AreEntriesThatDecideNothing) {
  plist(kManaged, list("DenyList", {kNobody, "*"}));
  EXPECT_THAT(findings(), ElementsAre("warning " + at(3) +
                                      " DenyList holds * beside other entries, "
                                      "which decide nothing then"));
  plist(kManaged, list("DenyList", {guidOf("bob"), guidOf("bob")}));
  EXPECT_THAT(findings(), ElementsAre("warning " + at(3) + " DenyList: entry 2, " + guidOf("bob") +
                                      ", stands there twice"));
}

}  // namespace
}  // namespace gatehall
