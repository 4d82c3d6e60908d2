#include "ctl/picture/PictureFile.h"

#include <algorithm>
#include <fcntl.h>
#include <gdk-pixbuf/gdk-pixbuf.h>
#include <memory>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "gatehall/base/PlatformException.h"
#include "portable/LazyLibrary.h"

namespace gatehall::ctl {

namespace {

constexpr std::size_t kLargestFile = std::size_t{4} << 20U;
constexpr int kLongestSide = 4096;
constexpr int kLongestSideKept = 256;

struct Pixbuf {
  LazyLibrary library{"libgdk_pixbuf-2.0.so.0"};
  decltype(::gdk_pixbuf_loader_new_with_type)* newLoader =
      GATEHALL_FUNCTION(library, gdk_pixbuf_loader_new_with_type);
  decltype(::gdk_pixbuf_loader_set_size)* setSize =
      GATEHALL_FUNCTION(library, gdk_pixbuf_loader_set_size);
  decltype(::gdk_pixbuf_loader_write)* write = GATEHALL_FUNCTION(library, gdk_pixbuf_loader_write);
  decltype(::gdk_pixbuf_loader_close)* close = GATEHALL_FUNCTION(library, gdk_pixbuf_loader_close);
  decltype(::gdk_pixbuf_loader_get_pixbuf)* loaded =
      GATEHALL_FUNCTION(library, gdk_pixbuf_loader_get_pixbuf);
  decltype(::gdk_pixbuf_apply_embedded_orientation)* upright =
      GATEHALL_FUNCTION(library, gdk_pixbuf_apply_embedded_orientation);
  decltype(::gdk_pixbuf_get_width)* width = GATEHALL_FUNCTION(library, gdk_pixbuf_get_width);
  decltype(::gdk_pixbuf_get_height)* height = GATEHALL_FUNCTION(library, gdk_pixbuf_get_height);
  decltype(::gdk_pixbuf_get_rowstride)* rowstride =
      GATEHALL_FUNCTION(library, gdk_pixbuf_get_rowstride);
  decltype(::gdk_pixbuf_get_n_channels)* channels =
      GATEHALL_FUNCTION(library, gdk_pixbuf_get_n_channels);
  decltype(::gdk_pixbuf_read_pixels)* pixels = GATEHALL_FUNCTION(library, gdk_pixbuf_read_pixels);
  decltype(::g_signal_connect_data)* connect = GATEHALL_FUNCTION(library, g_signal_connect_data);
  decltype(::g_object_unref)* unref = GATEHALL_FUNCTION(library, g_object_unref);
};

const Pixbuf& pixbuf() {
  static const Pixbuf functions;
  return functions;
}

struct Release {
  void operator()(GdkPixbufLoader* loader) const { pixbuf().unref(loader); }
  void operator()(GdkPixbuf* picture) const { pixbuf().unref(picture); }
};

template <class Object>
using Owned = std::unique_ptr<Object, Release>;

/// The file's bytes; empty when they can't or should not be had.
std::string contents(const std::filesystem::path& path) {
  // A pipe or a device must not keep anybody waiting.
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (file < 0) return {};
  std::string bytes;
  struct stat status {};
  if (fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0 &&
      static_cast<std::size_t>(status.st_size) <= kLargestFile) {
    bytes.resize(static_cast<std::size_t>(status.st_size));
    const auto count = read(file, bytes.data(), bytes.size());
    bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  }
  close(file);
  return bytes;
}

/// gdk-pixbuf's name for the file's format; nullptr for one that is not read.
const char* formatOf(std::string_view bytes) {
  if (bytes.starts_with("\x89PNG\r\n\x1A\n")) return "png";
  return bytes.starts_with("\xFF\xD8\xFF") ? "jpeg" : nullptr;
}

/// Called with the size as soon as it is read: a size of 0 ends the reading.
void limitSize(GdkPixbufLoader* loader, int width, int height, void*) {
  const int longest = std::max(width, height);
  if (width < 1 || height < 1 || longest > kLongestSide) {
    pixbuf().setSize(loader, 0, 0);
  } else if (longest > kLongestSideKept) {
    const auto scaled = [&](int side) { return std::max(1, side * kLongestSideKept / longest); };
    pixbuf().setSize(loader, scaled(width), scaled(height));
  }
}

std::uint32_t pixelOf(const guint8* bytes, bool hasAlpha) {
  const std::uint32_t alpha = hasAlpha ? bytes[3] : 0xFFU;
  const auto multiplied = [&](guint8 colour) { return (colour * alpha + 127) / 255; };
  return alpha << 24U | multiplied(bytes[0]) << 16U | multiplied(bytes[1]) << 8U |
         multiplied(bytes[2]);
}

Picture pictureOf(const GdkPixbuf* source) {
  const auto& library = pixbuf();
  Picture picture{library.width(source), library.height(source), {}};
  const auto channels = library.channels(source);
  const auto rowstride = library.rowstride(source);
  const auto* pixels = library.pixels(source);
  for (int line = 0; line < picture.height; ++line) {
    for (int column = 0; column < picture.width; ++column) {
      const auto offset = std::ptrdiff_t{line} * rowstride + std::ptrdiff_t{column} * channels;
      picture.pixels.push_back(pixelOf(pixels + offset, channels == 4));
    }
  }
  return picture;
}

std::optional<Picture> decoded(const std::string& bytes, const char* format) {
  const auto& library = pixbuf();
  const Owned<GdkPixbufLoader> loader(library.newLoader(format, nullptr));
  if (!loader) return std::nullopt;
  library.connect(loader.get(), "size-prepared", reinterpret_cast<GCallback>(limitSize), nullptr,
                  nullptr, GConnectFlags{});
  const auto isWritten = library.write(loader.get(), reinterpret_cast<const guchar*>(bytes.data()),
                                       bytes.size(), nullptr);
  const auto isClosed = library.close(loader.get(), nullptr);
  if (isWritten == FALSE || isClosed == FALSE) return std::nullopt;
  auto* loaded = library.loaded(loader.get());
  if (loaded == nullptr) return std::nullopt;
  const Owned<GdkPixbuf> upright(library.upright(loaded));
  return upright ? std::optional(pictureOf(upright.get())) : std::nullopt;
}

}  // namespace

std::optional<Picture> readPicture(const std::filesystem::path& path) {
  const auto bytes = contents(path);
  const auto* format = formatOf(bytes);
  if (format == nullptr) return std::nullopt;
  try {
    return decoded(bytes, format);
  } catch (const PlatformException&) {
    return std::nullopt;
  }
}

}  // namespace gatehall::ctl
