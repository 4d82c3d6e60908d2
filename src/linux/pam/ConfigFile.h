#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "linux/files/HostOptions.h"

namespace gatehall::pam {

/// A line of PAM's configuration, and what continues it: without comments and blank lines, a space
/// for each "\" that ended a line.
struct ConfigLine {
  std::uint64_t number = 0;  ///< in the file, from 1, of its first line
  std::string text;
};

/// A file of pam.d(5), its lines taken as libpam takes them.
struct ConfigFile {
  std::string path;  ///< from the host's root
  std::vector<ConfigLine> lines;
  bool endsInALine = false;    ///< the file ends where a line goes on, which libpam won't read
  std::string distrust = {};   ///< why somebody but root may have written it; empty: nobody
  std::uint64_t lastLine = 0;  ///< its number
};

/// The file at a path from the host's root; absent when there is none. Links are followed, as PAM
/// follows them. Raises PlatformException, "PATH: REASON", for one that can't be read, is no
/// regular file, is longer than 1 MiB or holds a NUL character.
std::optional<ConfigFile> readConfigFile(const HostOptions& options, std::string_view path);

/// Takes a line apart, from word to word: between blanks, or as in "[a word]", in which "\]" is
/// "]".
class Words {
 public:
  explicit Words(std::string_view text) : mLeft(text) {}

  /// Absent behind the last one.
  std::optional<std::string> next();

 private:
  std::string_view mLeft;
};

}  // namespace gatehall::pam
