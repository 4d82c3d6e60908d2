// Stands in for libFuzzer: feeds the files in the given folders to the fuzzer once. The first
// folder holds the seeds, which there must be; others may be missing.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

std::vector<std::filesystem::path> filesIn(const std::filesystem::path& folder) {
  std::vector<std::filesystem::path> files;
  if (!std::filesystem::exists(folder)) return files;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) files.push_back(entry);
  std::ranges::sort(files);
  return files;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> folders(argv + (argc > 0 ? 1 : 0), argv + argc);
  if (folders.empty() || filesIn(folders.front()).empty()) {
    std::fputs("no seeds\n", stderr);
    return 2;
  }
  for (const auto& folder : folders) {
    for (const auto& file : filesIn(folder)) {
      std::ifstream stream(file, std::ios::binary);
      const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
      // Named before it is fed: it is the last name when something breaks.
      std::printf("%s\n", file.c_str());
      std::fflush(stdout);
      // A copy without a byte behind it, so that the sanitizers see who reads beyond the end.
      const std::vector<std::uint8_t> data(bytes.begin(), bytes.end());
      LLVMFuzzerTestOneInput(data.data(), data.size());
    }
  }
}
