#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace gatehall {

/// Pixels line by line from the top: alpha, red, green and blue from the highest byte down, the
/// colours multiplied by alpha.
struct Picture {
  int width = 0;
  int height = 0;
  std::vector<std::uint32_t> pixels;
};

/// What is taken for a picture: those of people, unless said otherwise.
struct PictureLimits {
  std::size_t bytes = std::size_t{4} << 20U;
  int side = 4096;     ///< in pixels, either way; of what is drawn none
  int sideKept = 256;  ///< a larger one is made as small
  bool hasSVG = false;
};

/// The picture that a file of these bytes holds, as readPicture tells. From any thread.
std::optional<Picture> pictureOf(const std::string& bytes, const PictureLimits& limits = {});

/// Reads a PNG or JPEG file with gdk-pixbuf, which is mapped then, turned upright. Absent when
/// there is no such file, when it is not a plain file, is beyond the limits or no such picture, and
/// without gdk-pixbuf. From any thread.
std::optional<Picture> readPicture(const std::filesystem::path& path,
                                   const PictureLimits& limits = {});

}  // namespace gatehall
