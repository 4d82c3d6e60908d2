// A file of pam.d(5), and who gets past a module in it.

#include <filesystem>
#include <fstream>
#include <unistd.h>

#include "fuzz/Input.h"
#include "gatehall/base/PlatformException.h"
#include "linux/pam/Passage.h"
#include "linux/pam/Stack.h"
#include "pam/door/Arguments.h"

namespace {

using gatehall::fuzz::require;
namespace pam = gatehall::pam;

/// A machine's root with nothing but the files of PAM.
class Root {
 public:
  Root() {
    auto name = (std::filesystem::temp_directory_path() / "gatehall-fuzz-XXXXXX").string();
    require(mkdtemp(name.data()) != nullptr);
    mPath = name;
    std::filesystem::create_directories(mPath / "etc/pam.d");
    write("more", "account sufficient pam_a.so\naccount required pam_guard.so\n");
  }
  ~Root() { std::filesystem::remove_all(mPath); }
  Root(const Root&) = delete;
  Root& operator=(const Root&) = delete;

  void write(const std::string& service, std::string_view text) const {
    std::ofstream(mPath / "etc/pam.d" / service, std::ios::binary) << text;
  }
  std::string path() const { return mPath.string(); }

 private:
  std::filesystem::path mPath;
};

bool isGuard(const pam::Entry& entry) { return entry.module == "pam_guard.so"; }

void readArgumentsOf(const pam::Entry& entry) {
  const std::vector<std::string_view> words(entry.arguments.begin(), entry.arguments.end());
  const auto arguments = pam::readArguments(words);
  require(arguments.fault == nullptr || arguments.services == pam::kUsualServices);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Root root;
  root.write("door", gatehall::fuzz::text(data, size));
  gatehall::HostOptions options;
  options.root = root.path();
  try {
    const auto stack = pam::readAccountStack(options, "door");
    require(stack.entries.empty() == !stack.fault.empty());
    for (const auto& entry : stack.entries) {
      require(entry.place.line > 0 && entry.level < 17);
      require(entry.module.find('/') == std::string::npos);
      readArgumentsOf(entry);
    }
    const auto passage = passageThrough(stack, isGuard);
    require(passage.gap.has_value() == (passage.guard == pam::Guard::Partly));
    if (passage.gap) require(passage.gap->entry.place.line > 0);
  } catch (const gatehall::PlatformException& failure) {
    require(*failure.what() != '\0');
  }
  return 0;
}
