// The account stack of a PAM service, pam.d(5), and what a module in it guards.

#include <filesystem>
#include <fstream>
#include <unistd.h>

#include "fuzz/Input.h"
#include "gatehall/base/PlatformException.h"
#include "linux/pam/Passage.h"
#include "linux/pam/Stack.h"
#include "pam/door/Arguments.h"

namespace {

using namespace gatehall;

/// A machine's root whose service "door" has that file, and can include it from another one.
class Root {
 public:
  Root() {
    auto name = (std::filesystem::temp_directory_path() / "gatehall-fuzz-XXXXXX").string();
    fuzz::require(mkdtemp(name.data()) != nullptr);
    mPath = name;
    std::filesystem::create_directories(mPath / "etc/pam.d");
    write("common-account", "account required pam_gatehall.so\n");
    write("other", "account required pam_deny.so\n");
  }
  ~Root() { std::filesystem::remove_all(mPath); }
  Root(const Root&) = delete;
  Root& operator=(const Root&) = delete;

  void write(std::string_view service, std::string_view text) const {
    std::ofstream(mPath / "etc/pam.d" / service, std::ios::binary) << text;
  }
  std::string path() const { return mPath.string(); }

 private:
  std::filesystem::path mPath;
};

void readArgumentsOf(const pam::Entry& entry) {
  const std::vector<std::string_view> words(entry.arguments.begin(), entry.arguments.end());
  const auto arguments = pam::readArguments(words);
  fuzz::require(arguments.fault == nullptr || arguments.services == pam::kUsualServices);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Root root;
  root.write("door", fuzz::text(data, size));
  HostOptions options;
  options.root = root.path();
  try {
    const auto stack = pam::readAccountStack(options, "door");
    for (const auto& entry : stack.entries) readArgumentsOf(entry);
    const auto passage = pam::passageThrough(
        stack, [](const pam::Entry& entry) { return entry.module == "pam_gatehall.so"; });
    fuzz::require(passage.gap.has_value() == (passage.guard == pam::Guard::Partly));
  } catch (const PlatformException& failure) {
    fuzz::require(*failure.what() != '\0');
  }
  return 0;
}
