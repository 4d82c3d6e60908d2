// What a new managed file changes on 1,000 machines of 500 accounts, each a world file: gatehallctl
// compare in one run against a run of gatehallctl for each machine as it is and one as it would be.
// Of those runs some are measured. It also has to be done in ten seconds on two processors.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench/LargeWorld.h"
#include "bench/Processes.h"

namespace {

using namespace gatehall::bench;

constexpr unsigned kMachines = 1000;
constexpr unsigned kAccounts = 500;
constexpr unsigned kMeasured = 50;
constexpr int kRuns = 5;
constexpr double kSeconds = 10;

/// A folder that goes with the benchmark.
class Folder {
 public:
  Folder() {
    auto name = (std::filesystem::temp_directory_path() / "gatehall-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) fail("mkdtemp");
    mPath = name;
  }
  ~Folder() { std::filesystem::remove_all(mPath); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  const std::filesystem::path& path() const { return mPath; }

 private:
  std::filesystem::path mPath;
};

void writeWorld(const std::filesystem::path& path) {
  std::ofstream file(path);
  file << R"({ "directory": { "localNode": "local",
  "searchNode": { "name": "search", "covers": ["local", "unix", "ldap"] },
  "nodes": [ { "name": "local" }, { "name": "unix" }, { "name": "ldap", "records": [)";
  for (unsigned number = 0; number < kAccounts; ++number) {
    const auto name = "user" + std::to_string(number);
    file << (number == 0 ? "" : ",") << R"(
    { "type": "Users", "attributes": { "RecordName": ")"
         << name << R"(", "UniqueID": )" << 1000 + number << R"(, "FullName": ")"
         << fullName(number) << R"(", "GUID": ")" << userGUID(number)
         << R"(", "PrimaryGroupID": 100, "UserShell": "/bin/bash", "NFSHomeDirectory": "/home/)"
         << name << R"(", "AuthenticationAuthority": ";basic;", "Password": "********" } })";
  }
  file << "] } ] } }\n";
}

void writeManaged(const std::filesystem::path& path) {
  std::ofstream file(path);
  file << "<plist version=\"1.0\"><dict><key>DenyList</key><array>";
  for (unsigned number = 0; number < 10; ++number) {
    file << "<string>" << userGUID(number * 7) << "</string>";
  }
  file << "</array></dict></plist>\n";
}

}  // namespace

int main() {
  const std::string program = programs() / "gatehallctl";
  const Folder folder;
  const std::string managed = folder.path() / "managed.plist";
  writeManaged(managed);
  Command ours{program, "--json", "compare", "--with-managed", managed};
  std::vector<std::string> worlds;
  for (unsigned number = 0; number < kMachines; ++number) {
    worlds.push_back(folder.path() / (std::to_string(number) + ".world.json"));
    writeWorld(worlds.back());
  }
  ours.insert(ours.end(), worlds.begin(), worlds.end());

  constexpr int kSomebodyDiffers = 1;
  const auto seconds = inTurns(
      kRuns, [&] { return spent(ours, kSomebodyDiffers).milliseconds / 1e3; },
      [&] {
        double sum = 0;
        for (unsigned number = 0; number < kMeasured; ++number) {
          const Command theirs{program, "--json", "--world", worlds[number], "can-log-in", "--all"};
          sum += spent(theirs).milliseconds + spent(theirs).milliseconds;
        }
        return sum * kMachines / kMeasured / 1e3;
      });
  report({.name = "compare-seconds", .unit = "s", .ours = seconds.ours, .aim = kSeconds});
  report({.name = "compare",
          .unit = "s",
          .ours = seconds.ours,
          .theirs = seconds.theirs,
          .peer = "a run each",
          .aim = 0.6});
  return 0;
}
