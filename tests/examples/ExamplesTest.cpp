#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/ctl/Run.h"

// Every run that examples/NAME.runs lists, in the world of that name: what gatehallctl prints is
// compared whole with the file kept for it (scripts/update-expected writes them).

namespace gatehall {
namespace {

namespace fs = std::filesystem;

struct ExampleRun {
  std::string world;
  std::string file;
  int status = 0;
  Strings words;
};

void PrintTo(const ExampleRun& run, std::ostream* stream) {
  *stream << run.world << ": " << run.file;
}

const fs::path& examples() {
  static const fs::path directory = GATEHALL_EXAMPLES;
  return directory;
}

fs::path expectedFile(const ExampleRun& run) {
  return examples() / (run.world + ".expected") / run.file;
}

std::string contentOf(const fs::path& path) {
  std::ifstream stream(path, std::ios::binary);
  EXPECT_TRUE(stream) << path;
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::vector<fs::path> filesNamed(const std::string& extension) {
  std::vector<fs::path> paths;
  for (const auto& entry : fs::directory_iterator(examples())) {
    if (entry.path().string().ends_with(extension)) paths.push_back(entry.path());
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

std::vector<ExampleRun> allRuns() {
  std::vector<ExampleRun> runs;
  for (const auto& path : filesNamed(".runs")) {
    std::ifstream lines(path);
    for (std::string line; std::getline(lines, line);) {
      if (line.empty() || line.front() == '#') continue;
      std::istringstream words(line);
      ExampleRun run{.world = path.stem().string(), .file = {}, .words = {}};
      words >> run.file >> run.status;
      run.words.assign(std::istream_iterator<std::string>(words), {});
      runs.push_back(std::move(run));
    }
  }
  return runs;
}

std::string nameOf(const testing::TestParamInfo<ExampleRun>& info) {
  auto name = info.param.world + "_" + info.param.file;
  std::replace_if(
      name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
  return name;
}

class Examples : public testing::TestWithParam<ExampleRun> {};

TEST_P(Examples, SayWhatIsKeptForThem) {
  const auto& example = GetParam();
  fs::current_path(examples());  // where the words find their files
  Strings words = {"--world", example.world + ".world.json"};
  words.insert(words.end(), example.words.begin(), example.words.end());
  const auto outcome = run(words);
  EXPECT_EQ(outcome.output, contentOf(expectedFile(example))) << outcome.errors;
  EXPECT_EQ(static_cast<int>(outcome.status), example.status) << outcome.errors;
}

INSTANTIATE_TEST_SUITE_P(World, Examples, testing::ValuesIn(allRuns()), nameOf);

TEST(ExampleFiles, EveryWorldIsRun) {
  const auto runs = allRuns();
  for (const auto& path : filesNamed(".world.json")) {
    const auto world = path.stem().stem().string();
    EXPECT_TRUE(std::any_of(runs.begin(), runs.end(), [&](const ExampleRun& run) {
      return run.world == world;
    })) << world;
  }
}

TEST(ExampleFiles, EveryScriptIsRun) {
  const auto runs = allRuns();
  for (const auto& path : filesNamed(".events.json")) {
    EXPECT_TRUE(std::any_of(runs.begin(), runs.end(), [&](const ExampleRun& run) {
      return std::find(run.words.begin(), run.words.end(), path.filename()) != run.words.end();
    })) << path;
  }
}

TEST(ExampleFiles, EveryKeptOutputIsThatOfOneRun) {
  std::set<fs::path> named;
  for (const auto& run : allRuns()) {
    EXPECT_TRUE(named.insert(expectedFile(run)).second) << run.world << ": " << run.file;
  }
  for (const auto& directory : filesNamed(".expected")) {
    for (const auto& entry : fs::directory_iterator(directory)) {
      EXPECT_TRUE(named.contains(entry.path())) << entry.path();
    }
  }
}

}  // namespace
}  // namespace gatehall
