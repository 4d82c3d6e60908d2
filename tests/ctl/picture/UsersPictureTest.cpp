#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>
#include <utility>

#include "tests/ctl/RunWorld.h"

namespace gatehall {
namespace {

using ctl::ExitStatus;
using testing::HasSubstr;
using testing::StartsWith;

/// A folder for a picture of the household, and what drawing it says.
class UsersPicture : public ::testing::Test {
 protected:
  std::string file(const std::string& name) const {
    return (std::filesystem::path(mWorld.path()).parent_path() / name).string();
  }

  ctl::Outcome draw(const std::string& name, Strings more = {}) {
    Strings words = {"--world", mWorld.path(), "users", "--picture", file(name)};
    words.insert(words.end(), more.begin(), more.end());
    return run(words);
  }

  std::string bytes(const std::string& name) const {
    std::ifstream stream(file(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  void expectRefused(const ctl::Outcome& outcome, const std::string& why) {
    EXPECT_EQ(outcome.status, ExitStatus::WrongUsage);
    EXPECT_THAT(outcome.errors, HasSubstr(why));
  }

  WorldFileOnDisk mWorld{household()};
};

/// Big-endian, at that place of a PNG file.
unsigned numberAt(const std::string& png, std::size_t at) {
  unsigned number = 0;
  for (const char byte : png.substr(at, 4))
    number = number << 8U | static_cast<unsigned char>(byte);
  return number;
}

TEST_F(UsersPicture, IsAPNGFileOfTheWidthAskedFor) {
  const auto outcome = draw("users.png", {"--width", "500"});
  EXPECT_EQ(outcome.status, ExitStatus::Done);
  EXPECT_EQ(outcome.errors, "");
  EXPECT_THAT(outcome.output, HasSubstr("2 users"));
  const auto png = bytes("users.png");
  ASSERT_THAT(png, StartsWith("\x89PNG"));
  EXPECT_EQ(numberAt(png, 16), 500U);
  EXPECT_EQ(numberAt(png, 20), 2 * 72U + 2 * 16U);
}

TEST_F(UsersPicture, IsAnSVGFileByItsEnding) {
  EXPECT_EQ(draw("users.svg").status, ExitStatus::Done);
  EXPECT_THAT(bytes("users.svg"), HasSubstr("<svg "));
}

TEST_F(UsersPicture, IsDrawnBesideTheDocumentForPrograms) {
  const auto outcome = draw("users.svg", {"--json"});
  EXPECT_EQ(documentOf(outcome)["users"].size(), 2U);
  EXPECT_THAT(bytes("users.svg"), HasSubstr("</svg>"));
}

TEST_F(UsersPicture, IsRefusedWithAnotherEnding) {
  for (const auto* name : {"users", "users.jpeg", "users.png.", ".svg", "users.PNG "}) {
    expectRefused(draw(name), "ends in neither .png nor .svg");
    EXPECT_EQ(bytes(name), "");
  }
}

TEST_F(UsersPicture, IsRefusedForAWidthOutOfRange) {
  for (const auto* width : {"319", "4097", "", "-1", "400px", "99999999999999999999", "4e2"}) {
    expectRefused(draw("users.png", {"--width", width}), "no number from 320 to 4096");
  }
  EXPECT_EQ(bytes("users.png"), "");
}

TEST_F(UsersPicture, HasNeitherWidthNorScaleWithoutAFile) {
  expectRefused(run({"--world", mWorld.path(), "users", "--width", "400"}),
                "--width is said without --picture");
  expectRefused(run({"--world", mWorld.path(), "users", "--scale", "2"}),
                "--scale is said without --picture");
}

TEST_F(UsersPicture, HasTwiceThePixelsAtTwiceTheScale) {
  EXPECT_EQ(draw("users.png", {"--scale", "2"}).status, ExitStatus::Done);
  EXPECT_EQ(numberAt(bytes("users.png"), 16), 2 * 440U);
  EXPECT_EQ(numberAt(bytes("users.png"), 20), 2 * (2 * 72U + 2 * 16U));
  EXPECT_EQ(draw("users.svg", {"--scale", "2", "--width", "400"}).status, ExitStatus::Done);
  EXPECT_THAT(bytes("users.svg"), HasSubstr("width=\"800"));
  for (const auto* scale : {"0", "4", "1.5", "", "2x"}) {
    expectRefused(draw("users.png", {"--scale", scale}), "no number from 1 to 3");
  }
}

TEST_F(UsersPicture, SaysWhichFileCanNotBeWritten) {
  expectRefused(draw("nowhere/users.png"),
                "unable to write " + file("nowhere/users.png") + ": No such file or directory");
  std::filesystem::create_symlink("/dev/full", file("full.png"));
  expectRefused(draw("full.png"), "full.png: No space left on device");
}

TEST_F(UsersPicture, IsDrawnOfNobody) {
  const WorldFileOnDisk empty("{}");
  EXPECT_EQ(run({"--world", empty.path(), "users", "--picture", file("nobody.png")}).status,
            ExitStatus::Done);
  EXPECT_EQ(numberAt(bytes("nobody.png"), 20), 72U + 2 * 16U);
}

/// A world with that many local users.
std::string crowd(unsigned count) {
  std::ostringstream records;
  for (unsigned user = 0; user < count; ++user) {
    const auto number = std::to_string(10000 + user);
    records << (user == 0 ? "" : ", ") << R"({ "type": "Users", "attributes": { "RecordName": "u)"
            << number << R"(", "UniqueID": )" << number << R"(, "FullName": "User )" << number
            << R"(", "GUID": "00000000-0000-4000-8000-0000000)" << number << R"(" } })";
  }
  return R"({ "directory": { "localNode": "local",
    "searchNode": { "name": "search", "covers": ["local"] },
    "nodes": [ { "name": "local", "records": [)" +
         records.str() + "] } ] } }";
}

TEST_F(UsersPicture, ShowsTheFirst400OfACrowd) {
  const WorldFileOnDisk world(crowd(401));
  EXPECT_EQ(run({"--world", world.path(), "users", "--picture", file("crowd.png")}).status,
            ExitStatus::Done);
  // 401 rows in nine columns.
  EXPECT_EQ(numberAt(bytes("crowd.png"), 16), 16 + 9 * (408U + 16U));
  EXPECT_EQ(numberAt(bytes("crowd.png"), 20), 45 * 72U + 2 * 16U);
}

TEST_F(UsersPicture, FlowsIntoAsManyColumnsAsItIsLongAndItsWidthHolds) {
  const auto sizeOf = [this](unsigned count, Strings more) {
    const WorldFileOnDisk world(crowd(count));
    Strings words = {"--world", world.path(), "users", "--picture", file("some.png")};
    words.insert(words.end(), more.begin(), more.end());
    EXPECT_EQ(run(words).status, ExitStatus::Done);
    const auto png = bytes("some.png");
    return std::pair(numberAt(png, 16), numberAt(png, 20));
  };
  EXPECT_EQ(sizeOf(12, {}), std::pair(440U, 12 * 72 + 32U));
  EXPECT_EQ(sizeOf(13, {}), std::pair(864U, 7 * 72 + 32U));
  EXPECT_EQ(sizeOf(40, {"--width", "440"}), std::pair(440U, 40 * 72 + 32U));
  EXPECT_EQ(sizeOf(40, {"--width", "700"}), std::pair(700U, 20 * 72 + 32U));
}

TEST_F(UsersPicture, TakesNamesThatHaveNothingToShow) {
  for (const auto* name : {"", " ", "...", ". . . .", "\\u0000\\u0001", "\\n\\t", "\\u200d",
                           "\\u202e", "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa          "}) {
    const WorldFileOnDisk world(household("", name));
    EXPECT_EQ(run({"--world", world.path(), "users", "--picture", file("odd.png")}).status,
              ExitStatus::Done)
        << name;
  }
}

}  // namespace
}  // namespace gatehall
