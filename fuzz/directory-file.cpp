// The directory configuration, directory.toml.

#include <filesystem>
#include <fstream>
#include <unistd.h>

#include "fuzz/Input.h"
#include "instrumented/RecordingLog.h"
#include "linux/ldap/client/Settings.h"
#include "linux/local/Settings.h"
#include "linux/nss/Settings.h"

namespace {

/// A machine's root with nothing but the configuration.
class Root {
 public:
  Root() {
    auto name = (std::filesystem::temp_directory_path() / "gatehall-fuzz-XXXXXX").string();
    gatehall::fuzz::require(mkdtemp(name.data()) != nullptr);
    mPath = name;
    std::filesystem::create_directories(mPath / "etc/gatehall");
  }
  ~Root() { std::filesystem::remove_all(mPath); }
  Root(const Root&) = delete;
  Root& operator=(const Root&) = delete;

  void write(std::string_view text) const {
    std::ofstream(mPath / "etc/gatehall/directory.toml", std::ios::binary) << text;
  }
  std::string path() const { return mPath.string(); }

 private:
  std::filesystem::path mPath;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace gatehall;
  static const Root root;
  root.write(fuzz::text(data, size));
  HostOptions options;
  options.root = root.path();
  RecordingLog log;
  FaultLog faults(log);
  const auto settings = local::Settings::read(options, faults);
  settings.isGuest("guest-a1b2c3");
  for (const auto& configured : ldap::Settings::readAll(options, faults)) {
    if (const auto* unusable = std::get_if<ldap::Settings::Unusable>(&configured)) {
      fuzz::require(!unusable->place.empty() && !unusable->fault.empty());
      continue;
    }
    const auto& directory = std::get<ldap::Settings>(configured);
    fuzz::require(!directory.name.empty() && !directory.servers.empty());
    fuzz::require(directory.pageSize.value_or(1) > 0 && directory.timeLimit.count() > 0);
  }
  for (const auto& configured : nss::Settings::readAll(options, faults)) {
    const auto* directory = std::get_if<nss::Settings>(&configured);
    if (directory == nullptr) continue;
    fuzz::require(!directory->name.empty() && directory->timeLimit.count() > 0);
    directory->mayHaveName("dana@example.org");
  }
  return 0;
}
