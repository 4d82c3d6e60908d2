#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

namespace gatehall::bench {

inline constexpr int kFirstUserID = 10000;

/// A name as people have, of one to three words.
inline std::string fullName(std::mt19937& random) {
  static constexpr const char* syllables[] = {"an",  "be",  "ca", "dö", "el", "fi", "gu",  "hå",
                                              "in",  "jo",  "ka", "li", "mo", "né", "ol",  "pe",
                                              "qui", "ras", "so", "tü", "ur", "vi", "wen", "zo"};
  const auto pick = [&](std::uint32_t count) { return static_cast<std::size_t>(random() % count); };
  std::string name;
  const auto words = 1 + pick(3);
  for (std::size_t word = 0; word < words; ++word) {
    if (!name.empty()) name += ' ';
    const auto length = 2 + pick(3);
    for (std::size_t syllable = 0; syllable < length; ++syllable) {
      name += syllables[pick(std::size(syllables))];
    }
  }
  return name;
}

/// root and that many people, the same every time: passwd, shadow and group in the folder.
inline void writeAccounts(const std::filesystem::path& folder, int count) {
  std::mt19937 random(20261121);
  std::ofstream passwd(folder / "passwd");
  std::ofstream shadow(folder / "shadow");
  passwd << "root:x:0:0:root:/root:/bin/bash\n";
  shadow << "root:*:19000:0:99999:7:::\n";
  std::ofstream(folder / "group") << "root:x:0:\nsudo:x:27:user0\nusers:x:100:\n";
  for (int number = 0; number < count; ++number) {
    const auto name = "user" + std::to_string(number);
    passwd << name << ":x:" << kFirstUserID + number << ":100:" << fullName(random) << ",,,:/home/"
           << name << ":/bin/bash\n";
    shadow << name << ":$y$j9T$oQ0oQ0oQ0oQ0oQ0o$" << std::string(43, 'x')
           << ":19000:0:99999:7:::\n";
  }
}

}  // namespace gatehall::bench
