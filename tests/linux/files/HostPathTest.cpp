#include <filesystem>
#include <gtest/gtest.h>

#include "gatehall/base/PlatformException.h"
#include "linux/files/HostPath.h"
#include "tests/linux/Machine.h"

namespace gatehall {
namespace {

class HostPathTest : public testing::Test {
 protected:
  void link(const char* place, const char* leadsTo) const {
    std::filesystem::create_directories(std::filesystem::path(machine.path(place)).parent_path());
    std::filesystem::create_symlink(leadsTo, machine.path(place));
  }
  std::string at(const char* path, Symlinks last = Symlinks::Follow) const {
    return hostPath(machine.options, path, last);
  }

  Machine machine;
};

TEST_F(HostPathTest, OnThisMachineAPathIsItself) {
  EXPECT_EQ(hostPath(HostOptions(), "/etc/../etc/passwd"), "/etc/../etc/passwd");
}

TEST_F(HostPathTest, AnAbsoluteLinkStaysInTheRoot) {
  link("/etc/zone", "/usr/zones/paris");
  machine.write("/usr/zones/paris", "far");
  EXPECT_EQ(at("/etc/zone"), machine.path("/usr/zones/paris"));
}

TEST_F(HostPathTest, AnAbsoluteLinkToItsOwnPathLeadsNowhere) {
  machine.remove("/etc/passwd");
  link("/etc/passwd", "/etc/passwd");
  EXPECT_THROW(at("/etc/passwd"), PlatformException);
}

TEST_F(HostPathTest, ALinkedFolderStaysInTheRoot) {
  link("/home", "/srv/home");
  machine.write("/srv/home/ann/file", "hers");
  EXPECT_EQ(at("/home/ann/file"), machine.path("/srv/home/ann/file"));
  EXPECT_EQ(at("/home/ann/file", Symlinks::Refuse), machine.path("/srv/home/ann/file"));
}

TEST_F(HostPathTest, NoLinkLeadsAboveTheRoot) {
  link("/a/b/link", "../../../../../etc/hostname");
  EXPECT_EQ(at("/a/b/link"), machine.path("/etc/hostname"));
  EXPECT_EQ(at("/../../etc/./hostname"), machine.path("/etc/hostname"));
}

TEST_F(HostPathTest, ALinkInTheLastPlaceCanBeLeftAsItIs) {
  link("/etc/last", "/etc/passwd");
  EXPECT_EQ(at("/etc/last", Symlinks::Refuse), machine.path("/etc/last"));
  EXPECT_EQ(at("/etc/last"), machine.path("/etc/passwd"));
}

TEST_F(HostPathTest, WhatIsMissingStandsWhereItWould) {
  link("/etc/gone", "/nowhere/at/all");
  EXPECT_EQ(at("/etc/gone"), machine.path("/nowhere/at/all"));
}

TEST_F(HostPathTest, TheDirectoryOfARootReadsNoFileOfThisMachine) {
  machine.remove("/etc/shells");
  link("/etc/shells", "/usr/share/shells");
  machine.write("/usr/share/shells", "/bin/own\n");
  machine.write("/etc/passwd",
                "ann:x:1000:50:Ann Lee:/home/ann:/bin/own\n"
                "bob:x:1001:50:Bob Ray:/home/bob:/bin/bash\n");
  const auto shellOf = [this](const char* name) {
    return machine.user(name)->valuesForAttribute(attribute::UserShell)->front();
  };
  EXPECT_EQ(shellOf("ann"), "/bin/own");
  EXPECT_EQ(shellOf("bob"), "/usr/bin/false");
}

}  // namespace
}  // namespace gatehall
