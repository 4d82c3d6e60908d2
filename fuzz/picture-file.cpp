// Pictures of accounts, which their owners choose: PNG and JPEG.

#include <cstddef>
#include <string>

#include "fuzz/Input.h"
#include "people/PictureFile.h"

namespace {

using namespace gatehall;
using gatehall::fuzz::require;

constexpr int kLongestSide = 256;

bool isSide(int length) { return length > 0 && length <= kLongestSide; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto picture = pictureOf(std::string(fuzz::text(data, size)));
  if (!picture) return 0;
  require(isSide(picture->width) && isSide(picture->height));
  require(picture->pixels.size() ==
          static_cast<std::size_t>(picture->width) * static_cast<std::size_t>(picture->height));
  for (const auto pixel : picture->pixels) {
    // No colour is stronger than its alpha.
    const auto alpha = pixel >> 24U;
    require((pixel >> 16U & 0xFFU) <= alpha && (pixel >> 8U & 0xFFU) <= alpha &&
            (pixel & 0xFFU) <= alpha);
  }
  return 0;
}
