#include "people/PictureFile.h"

#include <algorithm>
#include <fcntl.h>
#include <gdk-pixbuf/gdk-pixbuf.h>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "gatehall/base/PlatformException.h"
#include "portable/LazyLibrary.h"

namespace gatehall {

namespace {

struct Pixbuf {
  LazyLibrary library{"libgdk_pixbuf-2.0.so.0", "libgdk-pixbuf-2.0-0"};
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
std::string contents(const std::filesystem::path& path, std::size_t limit) {
  // A pipe or a device must not keep anybody waiting.
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (file < 0) return {};
  std::string bytes;
  struct stat status {};
  if (fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0 &&
      static_cast<std::size_t>(status.st_size) <= limit) {
    bytes.resize(static_cast<std::size_t>(status.st_size));
    const auto count = read(file, bytes.data(), bytes.size());
    bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  }
  close(file);
  return bytes;
}

/// gdk-pixbuf's name for the file's format; nullptr for one that is not read.
const char* formatOf(std::string_view bytes, const PictureLimits& limits) {
  if (bytes.starts_with("\x89PNG\r\n\x1A\n")) return "png";
  if (bytes.starts_with("\xFF\xD8\xFF")) return "jpeg";
  const bool isDrawing = bytes.starts_with("<?xml") || bytes.starts_with("<svg");
  return limits.hasSVG && isDrawing ? "svg" : nullptr;
}

/// Called with the size as soon as it is read: a size of 0 ends the reading.
void limitSize(GdkPixbufLoader* loader, int width, int height, void* data) {
  const auto& limits = *static_cast<const PictureLimits*>(data);
  const int longest = std::max(width, height);
  if (width < 1 || height < 1 || longest > limits.side) {
    pixbuf().setSize(loader, 0, 0);
  } else if (longest > limits.sideKept) {
    const auto scaled = [&](int side) {
      return std::max(1, static_cast<int>(std::int64_t{side} * limits.sideKept / longest));
    };
    pixbuf().setSize(loader, scaled(width), scaled(height));
  }
}

std::uint32_t pixelOf(const guint8* bytes, bool hasAlpha) {
  const std::uint32_t alpha = hasAlpha ? bytes[3] : 0xFFU;
  const auto multiplied = [&](guint8 colour) { return (colour * alpha + 127) / 255; };
  return alpha << 24U | multiplied(bytes[0]) << 16U | multiplied(bytes[1]) << 8U |
         multiplied(bytes[2]);
}

Picture pixelsOf(const GdkPixbuf* source) {
  const auto& library = pixbuf();
  Picture picture{library.width(source), library.height(source), {}};
  picture.pixels.reserve(static_cast<std::size_t>(picture.width) *
                         static_cast<std::size_t>(picture.height));
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

std::optional<Picture> decoded(const std::string& bytes, const char* format, PictureLimits limits) {
  const auto& library = pixbuf();
  const Owned<GdkPixbufLoader> loader(library.newLoader(format, nullptr));
  if (!loader) return std::nullopt;
  library.connect(loader.get(), "size-prepared", reinterpret_cast<GCallback>(limitSize), &limits,
                  nullptr, GConnectFlags{});
  const auto isWritten = library.write(loader.get(), reinterpret_cast<const guchar*>(bytes.data()),
                                       bytes.size(), nullptr);
  const auto isClosed = library.close(loader.get(), nullptr);
  if (isWritten == FALSE || isClosed == FALSE) return std::nullopt;
  auto* loaded = library.loaded(loader.get());
  if (loaded == nullptr) return std::nullopt;
  const Owned<GdkPixbuf> upright(library.upright(loaded));
  return upright ? std::optional(pixelsOf(upright.get())) : std::nullopt;
}

}  // namespace

std::optional<Picture> pictureOf(const std::string& bytes, const PictureLimits& limits) {
  const auto* format = formatOf(bytes, limits);
  if (format == nullptr) return std::nullopt;
  try {
    auto theirs = limits;
    // It is drawn in the size in which it is kept.
    if (std::string_view(format) == "svg") theirs.side = std::numeric_limits<int>::max();
    return decoded(bytes, format, theirs);
  } catch (const PlatformException&) {
    return std::nullopt;
  }
}

std::optional<Picture> readPicture(const std::filesystem::path& path, const PictureLimits& limits) {
  return pictureOf(contents(path, limits.bytes), limits);
}

}  // namespace gatehall
