#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>

#include "people/PictureFile.h"

namespace gatehall::ctl {

/// Red, green and blue, from the highest of three bytes down.
using Colour = std::uint32_t;

/// A drawing, made with Cairo and Pango, which are mapped by the first one. Lengths are pixels of a
/// PNG file, points of an SVG file; y grows downwards. Raises PlatformException when one of the
/// libraries can't be had or can't draw.
class Canvas {
 public:
  enum class Format { PNG, SVG };

  /// Everything is drawn that many times as large as it is said to be.
  Canvas(Format format, double width, double height, double scale);
  ~Canvas();
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;

  void rectangle(double x, double y, double width, double height, double radius, Colour colour);
  void circle(double x, double y, double radius, Colour colour);
  /// The waning moon around that centre.
  void crescent(double x, double y, double radius, Colour colour);
  /// The middle of the picture, filling the circle.
  void roundPicture(const Picture& picture, double x, double y, double radius);

  /// One line of UTF-8 text that begins at x, whatever its direction. The font is described in
  /// Pango's words.
  void text(const std::string& text, const std::string& font, double x, double baseline,
            Colour colour);
  /// The same around x.
  void centredText(const std::string& text, const std::string& font, double x, double baseline,
                   Colour colour);

  /// The characters that were drawn as boxes, since no font has them.
  const std::set<char32_t>& withoutFont() const;

  /// The file's bytes. Nothing may be drawn afterwards.
  std::string finish();

 private:
  struct Drawing;
  std::unique_ptr<Drawing> mDrawing;
};

}  // namespace gatehall::ctl
