#pragma once

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "tests/ctl/Run.h"

namespace gatehall {

/// A world file for one test, in a directory of its own that goes with it.
class WorldFileOnDisk {
 public:
  explicit WorldFileOnDisk(std::string_view text) {
    auto name = (std::filesystem::temp_directory_path() / "gatehallctl-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary directory");
    mDirectory = name;
    std::ofstream(path()) << text;
  }
  ~WorldFileOnDisk() { std::filesystem::remove_all(mDirectory); }
  WorldFileOnDisk(const WorldFileOnDisk&) = delete;
  WorldFileOnDisk& operator=(const WorldFileOnDisk&) = delete;

  std::string path() const { return (mDirectory / "test.world.json").string(); }

 private:
  std::filesystem::path mDirectory;
};

/// What gatehallctl prints for the words, in that world.
inline ctl::Outcome runIn(std::string_view world, Strings words, bool colour = false) {
  const WorldFileOnDisk file(world);
  words.insert(words.begin(), {"--world", file.path()});
  return run(words, colour);
}

/// The one JSON document that was printed.
inline nlohmann::ordered_json documentOf(const ctl::Outcome& outcome) {
  return nlohmann::ordered_json::parse(outcome.output);
}

/// ann at the console, and an administrator; bob, who has no password.
inline std::string household(std::string_view moreSections = "",
                             std::string_view bobsName = "Bob") {
  return R"({
    "process": { "effectiveUserID": 1000 },
    "directory": {
      "localNode": "local",
      "searchNode": { "name": "search", "covers": ["local", "unix"] },
      "nodes": [ { "name": "local", "records": [
        { "type": "Users", "password": "secret", "attributes": {
            "RecordName": ["ann"], "UniqueID": ["1000"], "FullName": ["Ann"],
            "GUID": ["00000000-0000-4000-8000-000000001000"] } },
        { "type": "Users", "password": "", "attributes": {
            "RecordName": ["bob"], "UniqueID": ["1001"], "FullName": [")" +
         std::string(bobsName) + R"("],
            "GUID": ["00000000-0000-4000-8000-000000001001"] } },
        { "type": "Groups", "attributes": {
            "RecordName": ["admin"], "GroupMembership": ["ann"],
            "GUID": ["00000000-0000-4000-8000-00000000AD31"] } } ] },
        { "name": "unix" } ] },
    "sessions": { "current": 1, "list": [ { "id": 1, "userID": 1000, "loginDone": true } ] })" +
         std::string(moreSections) + "}";
}

}  // namespace gatehall
