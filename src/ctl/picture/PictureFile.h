#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

namespace gatehall::ctl {

/// Pixels line by line from the top: alpha, red, green and blue from the highest byte down, the
/// colours multiplied by alpha.
struct Picture {
  int width = 0;
  int height = 0;
  std::vector<std::uint32_t> pixels;
};

/// Reads a PNG or JPEG file with gdk-pixbuf, which is mapped then, turned upright and no larger
/// than 256 pixels either way. Absent when there is no such file, when it is not a plain file, has
/// more than 4 MiB or 4096 pixels either way, or is no such picture, and without gdk-pixbuf.
std::optional<Picture> readPicture(const std::filesystem::path& path);

}  // namespace gatehall::ctl
