#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "gatehall/base/PlatformException.h"
#include "portable/LazyLibrary.h"

namespace gatehall {
namespace {

std::string problemWith(const std::string& soname) {
  try {
    const LazyLibrary library(soname.c_str(), "libnowhere7");
  } catch (const PlatformException& problem) {
    return problem.what();
  }
  return {};
}

TEST(LazyLibrary, NamesThePackageOfOneThatIsMissing) {
  EXPECT_EQ(problemWith("libnowhere.so.7"), "libnowhere.so.7 is missing: install libnowhere7");
}

TEST(LazyLibrary, SaysWhatElseIsWrong) {
  auto name = (std::filesystem::temp_directory_path() / "library-XXXXXX").string();
  ASSERT_NE(mkdtemp(name.data()), nullptr);
  const auto broken = name + "/libbroken.so.1";
  std::ofstream(broken) << "no library";
  EXPECT_THAT(problemWith(broken), testing::AllOf(testing::StartsWith(broken + ": "),
                                                  testing::Not(testing::HasSubstr("missing"))));
  std::filesystem::remove_all(name);
}

TEST(LazyLibrary, FindsFunctionsAndSaysWhichThereIsNone) {
  const LazyLibrary library("libm.so.6", "libc6");
  EXPECT_EQ(library.function<double(double)>("floor")(1.5), 1);
  EXPECT_THROW(library.function<void()>("nowhere"), PlatformException);
}

TEST(LazyLibrary, FindsVariablesAndNothingWhereThereIsNone) {
  const LazyLibrary library("libm.so.6", "libc6");
  EXPECT_NE(library.find<int>("signgam"), nullptr);
  EXPECT_EQ(library.find<int>("nowhere"), nullptr);
}

}  // namespace
}  // namespace gatehall
