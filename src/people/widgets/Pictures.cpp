#include "people/widgets/Pictures.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>

namespace gatehall {

namespace {

constexpr std::size_t kMostBytes = std::size_t{12} << 20U;
/// More than a screen has rows.
constexpr std::size_t kMostLookedAt = 200;
/// For so long a picture is taken for that of its file.
constexpr unsigned kSecondsKept = 5;

/// How much of a pixel lies in the circle that fills the square, 0 to 255.
std::uint32_t coverage(int x, int y, int diameter) {
  const double radius = diameter / 2.0;
  const double distance = std::hypot(x + 0.5 - radius, y + 0.5 - radius);
  return static_cast<std::uint32_t>(
      std::lround(std::clamp(radius - distance + 0.5, 0.0, 1.0) * 255));
}

std::uint32_t multiplied(std::uint32_t pixel, std::uint32_t by) {
  std::uint32_t result = 0;
  for (const unsigned shift : {0U, 8U, 16U, 24U}) {
    result |= ((pixel >> shift & 0xFFU) * by + 127) / 255 << shift;
  }
  return result;
}

/// The middle of the picture, so many pixels wide and high, as a circle. Each pixel is the mean of
/// those that it stands for.
Picture rounded(const Picture& picture, int diameter) {
  const int side = std::min(picture.width, picture.height);
  const int left = (picture.width - side) / 2;
  const int top = (picture.height - side) / 2;
  Picture circle{diameter, diameter, {}};
  circle.pixels.reserve(static_cast<std::size_t>(diameter) * static_cast<std::size_t>(diameter));
  const auto from = [&](int place) { return place * side / diameter; };
  const auto to = [&](int place) { return std::max(from(place) + 1, from(place + 1)); };
  for (int y = 0; y < diameter; ++y) {
    for (int x = 0; x < diameter; ++x) {
      std::uint32_t sums[4] = {};
      std::uint32_t count = 0;
      for (int line = from(y); line < to(y); ++line) {
        for (int column = from(x); column < to(x); ++column) {
          const auto pixel = picture.pixels[static_cast<std::size_t>(top + line) *
                                                static_cast<std::size_t>(picture.width) +
                                            static_cast<std::size_t>(left + column)];
          for (unsigned part = 0; part < 4; ++part) sums[part] += pixel >> part * 8U & 0xFFU;
          ++count;
        }
      }
      std::uint32_t mean = 0;
      for (unsigned part = 0; part < 4; ++part) {
        mean |= (sums[part] + count / 2) / count << part * 8U;
      }
      circle.pixels.push_back(multiplied(mean, coverage(x, y, diameter)));
    }
  }
  return circle;
}

}  // namespace

Glib::RefPtr<Gdk::Texture> textureOf(const Picture& picture) {
  const auto stride = static_cast<gsize>(picture.width) * sizeof(std::uint32_t);
  const auto bytes =
      Glib::Bytes::create(picture.pixels.data(), picture.pixels.size() * sizeof(std::uint32_t));
  return Gdk::MemoryTexture::create(picture.width, picture.height,
                                    Gdk::MemoryTexture::Format::B8G8R8A8_PREMULTIPLIED, bytes,
                                    stride);
}

Pictures& Pictures::ofProcess() {
  static Pictures pictures;
  return pictures;
}

Pictures::Pictures()
    : mReaders(
          [](const PictureReaders::Wanted& wanted) {
            const auto picture = readPicture(wanted.path);
            return picture ? std::optional(rounded(*picture, wanted.diameter)) : std::nullopt;
          },
          [this] { mArrived.emit(); }) {
  mArrived.connect([this] { takeRead(); });
  mTicks = Glib::signal_timeout().connect_seconds(
      [this] {
        mReaders.unblock();
        lookAgain();
        return true;
      },
      kSecondsKept);
}

Pictures::~Pictures() { mTicks.disconnect(); }

Glib::RefPtr<Gdk::Texture> Pictures::get(const std::string& path, int diameter) {
  const Wanted wanted{path, diameter};
  const auto kept = mKept.find(wanted);
  if (kept != mKept.end()) {
    mUses.splice(mUses.begin(), mUses, kept->second.use);
    return kept->second.texture;
  }
  mReaders.want(wanted);
  return {};
}

/// At those that were shown last. The path of a new picture is most often that of the one before.
void Pictures::lookAgain() {
  std::size_t count = 0;
  for (const auto& wanted : mUses) {
    if (++count > kMostLookedAt) return;
    mReaders.want(wanted, mKept.at(wanted).version);
  }
}

void Pictures::takeRead() {
  const auto answers = mReaders.take();
  if (answers.empty()) return;
  for (const auto& [wanted, version, picture] : answers) {
    if (const auto former = mKept.find(wanted); former != mKept.end()) drop(former);
    mUses.push_front(wanted);
    const auto bytes =
        (picture ? picture->pixels.size() * sizeof(std::uint32_t) : 0) + sizeof(Kept);
    mKept.emplace(wanted,
                  Kept{picture ? textureOf(*picture) : nullptr, version, bytes, mUses.begin()});
    mBytes += bytes;
  }
  while (mBytes > kMostBytes && mUses.size() > 1) drop(mKept.find(mUses.back()));
  mRead.emit();
}

void Pictures::drop(std::map<Wanted, Kept>::iterator kept) {
  mBytes -= kept->second.bytes;
  mUses.erase(kept->second.use);
  mKept.erase(kept);
}

}  // namespace gatehall
