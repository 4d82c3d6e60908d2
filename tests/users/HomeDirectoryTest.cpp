#include <gtest/gtest.h>
#include <string>

#include "tests/Machine.h"

namespace gatehall {
namespace {

class HomeDirectory : public Machine {
 protected:
  HomeDirectory() { install(cast::machineOfAll()); }

  std::shared_ptr<CachedUser> bobWith(std::string_view kind, Strings values) {
    mWorld->directory()
        .node(cast::kLocalNode)
        ->record("Users", "bob")
        ->setValues(kind, std::move(values));
    return userNamed("bob");
  }

  bool isCryptwell(std::string home) {
    return bobWith("HomeDirectory", {std::move(home)})->isCryptwellUser();
  }

  bool isExternal(std::string marker) {
    return bobWith("lxAttrTypeNative:external", {std::move(marker)})->isExternalHomeUser();
  }
};

TEST_F(HomeDirectory, IsADiskImageForAFileURLEvenToAFolder) {
  EXPECT_TRUE(
      isCryptwell("<home_dir><url>file://localhost/home/bob/bob.sparsebundle</url></home_dir>"));
  EXPECT_TRUE(isCryptwell("<home_dir><url>file:///home/bob</url><path>x</path></home_dir>"));
  EXPECT_TRUE(isCryptwell("<home_dir><url><![CDATA[file:///home/bob]]></url></home_dir>"));
  EXPECT_TRUE(
      isCryptwell("<?xml version=\"1.0\"?>\n<home_dir>\n  <url>file:///b&#x6F;b</url>\n"
                  "</home_dir>\n"));
}

TEST_F(HomeDirectory, IsNoDiskImageForAFileSharingURLOfAServer) {
  EXPECT_FALSE(
      isCryptwell("<home_dir><url>smb://server.example.org/bob.sparsebundle</url></home_dir>"));
}

TEST_F(HomeDirectory, GoesByTheExtensionWhereTheSchemeIsSpelledOtherwise) {
  EXPECT_TRUE(isCryptwell("<h><url>FILE:///bob.sparsebundle</url></h>"));
  EXPECT_TRUE(isCryptwell("<h><url>File:///bob.sparsebundle/</url></h>"));
  EXPECT_FALSE(isCryptwell("<h><url>FILE:///bob.sparsebundle/x</url></h>"));
  EXPECT_FALSE(isCryptwell("<h><url>FILE:///bob.SparseBundle</url></h>"));
  EXPECT_FALSE(isCryptwell("<h><url>FILE:///.sparsebundle</url></h>"));
  EXPECT_FALSE(isCryptwell("<h><url>FILE:///bob</url></h>"));
  EXPECT_FALSE(isCryptwell("<h><url>FILE:</url></h>"));
}

TEST_F(HomeDirectory, IsNoDiskImageWithoutXMLOrWithoutAURL) {
  EXPECT_FALSE(userNamed("bob")->isCryptwellUser());
  EXPECT_FALSE(isCryptwell(""));
  EXPECT_FALSE(isCryptwell("/home/bob"));
  EXPECT_FALSE(isCryptwell("file:///home/bob"));
  EXPECT_FALSE(isCryptwell("<home_dir/>"));
  EXPECT_FALSE(isCryptwell("<url>file:///home/bob</url>"));
  EXPECT_FALSE(isCryptwell("<home_dir><path>file:///bob</path></home_dir>"));
  EXPECT_FALSE(isCryptwell("<home_dir><x:url>file:///bob</x:url></home_dir>"));
  EXPECT_FALSE(isCryptwell("<home_dir><a><url>file:///bob</url></a></home_dir>"));
  EXPECT_FALSE(isCryptwell("<home_dir><url><b>file:///bob</b></url></home_dir>"));
  EXPECT_FALSE(isCryptwell("<home_dir><url>/home/bob</url></home_dir>"));
  EXPECT_FALSE(isCryptwell("<home_dir><url>not a URL</url></home_dir>"));
  EXPECT_FALSE(isCryptwell("<home_dir><url>file:///bob</url>"));
}

TEST_F(HomeDirectory, GoesByTheLastOfTwoURLs) {
  EXPECT_TRUE(isCryptwell("<h><url>smb://server/bob</url><url>file:///bob</url></h>"));
  EXPECT_FALSE(isCryptwell("<h><url>file:///bob</url><url>smb://server/bob</url></h>"));
  EXPECT_FALSE(isCryptwell("<h><url>file:///bob</url><url/></h>"));
}

TEST_F(HomeDirectory, GoesByTheFirstOfTwoValues) {
  EXPECT_TRUE(
      bobWith("HomeDirectory", {"<h><url>file:///bob</url></h>", "/home/bob"})->isCryptwellUser());
}

TEST_F(HomeDirectory, IsNoDiskImageWhenTheDirectoryFails) {
  bobWith("HomeDirectory", {"<h><url>file:///bob</url></h>"});
  fail({{.operation = "valuesForAttribute"}});
  const auto bob = userNamed("bob");
  EXPECT_FALSE(bob->isCryptwellUser());
  EXPECT_FALSE(bob->isExternalHomeUser());
}

TEST_F(HomeDirectory, IsExternalAsTheMarkerReads) {
  EXPECT_FALSE(userNamed("bob")->isExternalHomeUser());
  EXPECT_TRUE(isExternal("1"));
  EXPECT_TRUE(isExternal("true"));
  EXPECT_TRUE(isExternal("YES"));
  EXPECT_FALSE(isExternal("0"));
  EXPECT_FALSE(isExternal("no"));
  EXPECT_FALSE(isExternal(""));
}

}  // namespace
}  // namespace gatehall
