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

  Canvas::Format format = Canvas::Format::PNG;
  int width = 440;           ///< between these
  bool inLocalTime = false;  ///< curfews by the machine's time zone, else in UTC
  /// Where the file of an account picture is; absent for one that there is not. A path is as the
  /// account has it.
  std::function<std::optional<std::filesystem::path>(const std::string& path)> locatePicture;
};

/// The list as a login screen may show it, as the bytes of a file: the users in the list's order,
/// each with picture or initials, long name, short name, and what marks them: current, suspended, a
/// curfew. Text is measured and drawn with real fonts. Beyond 400 users only the number of the
/// others is said. No list is drawn as an empty one. Raises PlatformException when it can't be
/// drawn.
std::string usersPicture(const std::shared_ptr<CachedUserList>& users,
                         const UsersPictureStyle& style, Date now);

}  // namespace gatehall::ctl
