#include "world/json/TextFile.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "gatehall/world/json/WorldError.h"

namespace gatehall {

namespace {

constexpr std::size_t kLargestFile = std::size_t{256} << 20U;

}  // namespace

std::string readTextFile(const std::filesystem::path& path) {
  const auto fail = [&](const char* why) { throw WorldError(path.string() + ": " + why); };
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  const std::unique_ptr<std::FILE, Close> file(std::fopen(path.c_str(), "re"));
  if (file == nullptr) fail(std::strerror(errno));
  std::string text;
  std::array<char, 65536> part;
  while (const auto count = std::fread(part.data(), 1, part.size(), file.get())) {
    if (text.size() + count > kLargestFile) fail("the file has more than 256 MiB");
    text.append(part.data(), count);
  }
  if (std::ferror(file.get()) != 0) fail(std::strerror(errno));
  return text;
}

}  // namespace gatehall
