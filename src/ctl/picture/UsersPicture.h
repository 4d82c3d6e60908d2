#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "ctl/picture/Canvas.h"
#include "gatehall/base/Value.h"
#include "gatehall/users/CachedUserList.h"

namespace gatehall::ctl {

struct UsersPictureStyle {
  static constexpr int kNarrowest = 320;
  static constexpr int kWidest = 4096;
  static constexpr int kLargestScale = 3;

  Canvas::Format format = Canvas::Format::PNG;
  std::optional<int> width{};  ///< between these; absent: what the columns take
  int scale = 1;               ///< pixels a length of 1 takes, up to that
  bool inLocalTime = false;    ///< curfews by the machine's time zone, else in UTC
  /// Where the file of an account picture is; absent for one that there is not. A path is as the
  /// account has it.
  std::function<std::optional<std::filesystem::path>(const std::string& path)> locatePicture;
};

struct UsersPicture {
  std::string bytes;  ///< of a file
  /// A sentence for each script of which no font is installed, so that names are drawn as boxes.
  Strings notes{};
};

/// The list as a login screen may show it: the users in the list's order, each with picture or
/// initials, long name, short name, and what marks them: in front, logged in, a curfew. A long list
/// flows into columns, from the top down. Text is measured and drawn with real fonts. Beyond 400
/// users only the number of the others is said. No list is drawn as an empty one. Raises
/// PlatformException when it can't be drawn.
UsersPicture usersPicture(const std::shared_ptr<CachedUserList>& users,
                          const UsersPictureStyle& style, Date now);

}  // namespace gatehall::ctl
