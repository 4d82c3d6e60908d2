#include "tests/ctl/check/CheckedMachine.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class SettingsFindings : public CheckedMachine {
 protected:
  static constexpr std::string_view kOwn = "/etc/gatehall/com.orvane.gatehall.plist";
  static constexpr std::string_view kOldPlace =
      "/Library/Managed Preferences/com.orvane.gatehall.plist";
  static constexpr std::string_view kHide = "<key>Hide500Users</key><true/>";
};

TEST_F(SettingsFindings, AreNoneOfSettingsThatAreRight) {
  plist(kManaged, kHide);
  plist(kOwn, "<key>HideAdminUsers</key><false/>");
  EXPECT_THAT(findings(), IsEmpty());
}

TEST_F(SettingsFindings, AreAllFaultsOfAFileWithTheirLines) {
  plist(kManaged,
        "<key>Hide500Users</key><string>perhaps</string>\n"
        "<key>AlowList</key><array/>\n"
        "<key>Colour</key><string>red</string>\n"
        "<key>DenyList</key><array><string>ann</string></array>");
  const std::string file(kManaged);
  EXPECT_THAT(
      findings(),
      ElementsAre("error " + file + ":4 AlowList: it is no setting; did you mean AllowList?",
                  "error " + file +
                      ":6 DenyList: entry 1 \"ann\" is neither * nor a GUID, which "
                      "gatehallctl guid shows",
                  "error " + file + ":3 Hide500Users: it is no boolean",
                  StartsWith("warning " + file + ":5 Colour: it is no setting; did you mean ")));
}

TEST_F(SettingsFindings, AreFilesThatAreNoPropertyLists) {
  plist(kOwn, "<key>Hide500Users</key><maybe/>");
  EXPECT_THAT(findings(), ElementsAre(StartsWith("error " + std::string(kOwn) + ":3 ")));
}

TEST_F(SettingsFindings, AreFilesThatOthersCanWrite) {
  plist(kOwn, kHide);
  mode(kOwn, 0666);
  EXPECT_THAT(findings(), ElementsAre("error " + std::string(kOwn) +
                                      " it can be written by others than its owner"));
}

TEST_F(SettingsFindings, AreManagedFilesAtTheOldPlace) {
  plist(kOldPlace, kHide);
  EXPECT_THAT(findings(),
              ElementsAre("warning " + std::string(kOldPlace) +
                          " it counts, but stands where nobody looks for settings on Linux"));
  EXPECT_EQ(document()["findings"][0]["remedy"], "Move it to " + std::string(kManaged) + ".");
}

TEST_F(SettingsFindings, AreManagedFilesThatAnotherOneHides) {
  plist(kOldPlace, "<key>Nonsense</key><true/>");
  plist(kManaged, kHide);
  EXPECT_THAT(findings(), ElementsAre("warning " + std::string(kOldPlace) + " nobody reads it: " +
                                      std::string(kManaged) + " counts in its place"));
}

TEST_F(SettingsFindings, AreSettingsThatAStrongerFileHides) {
  plist(kManaged, kHide);
  plist(kOwn, kHide);
  EXPECT_THAT(findings(), ElementsAre("warning " + std::string(kOwn) +
                                      ":3 Hide500Users decides nothing here: " +
                                      std::string(kManaged) + ":3 sets it as well"));
}

TEST_F(SettingsFindings, AreFilesOfNamesThatNobodyReads) {
  plist("/etc/gatehall/com.orvane.gatehal.plist", kHide);
  plist("/etc/gatehall/managed/school.plist", kHide);
  EXPECT_THAT(findings(), ElementsAre("warning /etc/gatehall/com.orvane.gatehal.plist nobody reads "
                                      "a property list of that name",
                                      "warning /etc/gatehall/managed/school.plist nobody reads a "
                                      "property list of that name"));
  EXPECT_EQ(document()["findings"][0]["remedy"],
            "Rename it to com.orvane.gatehall.plist, if that is what it is, or remove it.");
}

}  // namespace
}  // namespace gatehall
