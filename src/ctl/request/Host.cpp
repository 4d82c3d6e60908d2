#include "ctl/request/Host.h"

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "ctl/request/Verb.h"
#include "gatehall/base/PlatformException.h"
#include "gatehall/linux/LinuxPlatform.h"
#include "instrumented/InstrumentedPlatform.h"
#include "linux/PolicyFiles.h"
#include "linux/directory/LinuxDirectory.h"
#include "linux/files/HostPath.h"
#include "linux/preferences/LinuxPreferences.h"
#include "linux/preferences/LinuxPropertyLists.h"
#include "portable/text/PangoText.h"
#include "world/file/WorldFile.h"

namespace gatehall::ctl {

namespace {

HostOptions optionsUnder(const std::string& folder) {
  std::error_code problem;
  const auto root = std::filesystem::canonical(folder, problem);
  if (problem || !std::filesystem::is_directory(root, problem)) {
    throw UsageError("--root: '" + folder + "' is no folder");
  }
  HostOptions options;
  if (root == "/") return options;
  options.root = root.string();
  options.isRunning = false;
  return options;
}

LinuxOptions linuxOptions(const HostOptions& options) {
  LinuxOptions result;
  result.setRoot(options.root);
  result.setRunning(options.isRunning);
  return result;
}

}  // namespace

namespace {

/// What TZ names the machine's zone by: its file's path, or UTC where it has none that can be read.
std::string zoneOf(const HostOptions& options) {
  constexpr const char* kNone = "UTC0";
  try {
    const auto file = hostPath(options, "/etc/localtime");
    struct stat status {};
    // The C library opens whatever stands there, and would wait at a pipe.
    const bool isFile = stat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode);
    return isFile && access(file.c_str(), R_OK) == 0 ? ":" + file : kNone;
  } catch (const PlatformException&) {
    return kNone;
  }
}

}  // namespace

/// The C library takes it from the environment (tzset(3)).
class Host::LocalTime {
 public:
  explicit LocalTime(const HostOptions& options) {
    if (const char* zone = std::getenv(kVariable)) mBefore = zone;
    set(zoneOf(options));
  }
  ~LocalTime() { set(mBefore); }
  LocalTime(const LocalTime&) = delete;
  LocalTime& operator=(const LocalTime&) = delete;

 private:
  static constexpr const char* kVariable = "TZ";

  static void set(const std::optional<std::string>& zone) {
    if (zone) {
      setenv(kVariable, zone->c_str(), 1);
    } else {
      unsetenv(kVariable);
    }
    tzset();
  }

  std::optional<std::string> mBefore;
};

Host::Host(Source source, Trace::Keeps kept)
    : mSource(std::move(source)), mTrace(std::make_shared<Trace>(kept)) {
  std::shared_ptr<Platform> platform;
  std::vector<Fault> faults;
  InstrumentedPlatform::Substitutes substitutes{.text = std::make_shared<PangoText>()};
  if (mSource.world && mSource.root) throw UsageError("--world and --root exclude each other");
  if (mSource.world) {
    mWorld = worldFromFile(*mSource.world);
    mLog = std::shared_ptr<RecordingLog>(mWorld, &mWorld->log());
    mLoginService = std::shared_ptr<RecordingLoginService>(mWorld, &mWorld->loginService());
    layOver(mSource.overlay, *mWorld);
    faults = mWorld->faults();
    platform = mWorld;
  } else {
    mLoginService = std::make_shared<RecordingLoginService>();
    if (mSource.root) mOptions = optionsUnder(*mSource.root);
    if (!mOptions.root.empty()) mLocalTime = std::make_unique<LocalTime>(mOptions);
    mMachine = std::make_shared<LinuxPlatform>(linuxOptions(mOptions), mLog);
    layOver(mSource.overlay, mOptions);
    if (!mOptions.rehearsed.empty()) {
      substitutes.preferences = std::make_shared<LinuxPreferences>(mOptions, mMachine->directory(),
                                                                   mMachine->process(), *mLog);
      substitutes.propertyLists = std::make_shared<LinuxPropertyLists>(mOptions, *mLog);
    }
    platform = mMachine;
  }
  substitutes.loginService = mLoginService;
  substitutes.log = mLog;
  mPlatform = std::make_shared<InstrumentedPlatform>(std::move(platform), std::move(faults), mTrace,
                                                     std::move(substitutes));
  Platform::install(mPlatform);
}

Host::~Host() { Platform::install(nullptr); }

std::vector<std::shared_ptr<NetworkNode>> Host::networkNodes() const {
  if (!mMachine) return {};
  return static_cast<LinuxDirectory&>(mMachine->directory()).networkNodes();
}

AccountHost Host::accounts() const {
  return {.machine = mMachine ? &mOptions : nullptr,
          .worldFile = mSource.world.value_or(""),
          .networkNodes = [this] { return networkNodes(); },
          .logged = mLog.get()};
}

std::string Host::fileAt(std::string_view path) const { return hostPath(mOptions, path); }

Strings Host::filesHiddenFromUsers() const {
  if (!mMachine || geteuid() != 0) return {};
  return policyFilesHiddenFromUsers(mOptions);
}

}  // namespace gatehall::ctl
