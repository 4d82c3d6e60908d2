#include "ctl/picture/Canvas.h"

#include <algorithm>
#include <cairo-svg.h>
#include <numbers>
#include <pango/pangocairo.h>

#include "gatehall/base/PlatformException.h"
#include "portable/LazyLibrary.h"
#include "portable/text/Utf16.h"

namespace gatehall::ctl {

namespace {

struct Library {
  // Pango, Cairo and GLib come along as libraries that this one needs.
  LazyLibrary library{"libpangocairo-1.0.so.0", "libpangocairo-1.0-0"};
#define GATEHALL_DRAWS_WITH(name) decltype(::name)* name = GATEHALL_FUNCTION(library, name)
  GATEHALL_DRAWS_WITH(cairo_arc);
  GATEHALL_DRAWS_WITH(cairo_arc_negative);
  GATEHALL_DRAWS_WITH(cairo_clip);
  GATEHALL_DRAWS_WITH(cairo_close_path);
  GATEHALL_DRAWS_WITH(cairo_create);
  GATEHALL_DRAWS_WITH(cairo_destroy);
  GATEHALL_DRAWS_WITH(cairo_fill);
  GATEHALL_DRAWS_WITH(cairo_font_options_create);
  GATEHALL_DRAWS_WITH(cairo_font_options_destroy);
  GATEHALL_DRAWS_WITH(cairo_font_options_set_hint_metrics);
  GATEHALL_DRAWS_WITH(cairo_font_options_set_hint_style);
  GATEHALL_DRAWS_WITH(cairo_get_source);
  GATEHALL_DRAWS_WITH(cairo_image_surface_create);
  GATEHALL_DRAWS_WITH(cairo_image_surface_create_for_data);
  GATEHALL_DRAWS_WITH(cairo_move_to);
  GATEHALL_DRAWS_WITH(cairo_new_sub_path);
  GATEHALL_DRAWS_WITH(cairo_paint);
  GATEHALL_DRAWS_WITH(cairo_pattern_set_filter);
  GATEHALL_DRAWS_WITH(cairo_restore);
  GATEHALL_DRAWS_WITH(cairo_save);
  GATEHALL_DRAWS_WITH(cairo_scale);
  GATEHALL_DRAWS_WITH(cairo_set_source_rgb);
  GATEHALL_DRAWS_WITH(cairo_set_source_surface);
  GATEHALL_DRAWS_WITH(cairo_status);
  GATEHALL_DRAWS_WITH(cairo_status_to_string);
  GATEHALL_DRAWS_WITH(cairo_surface_destroy);
  GATEHALL_DRAWS_WITH(cairo_surface_finish);
  GATEHALL_DRAWS_WITH(cairo_surface_status);
  GATEHALL_DRAWS_WITH(cairo_surface_write_to_png_stream);
  GATEHALL_DRAWS_WITH(cairo_svg_surface_create_for_stream);
  GATEHALL_DRAWS_WITH(cairo_translate);
  GATEHALL_DRAWS_WITH(g_object_unref);
  GATEHALL_DRAWS_WITH(pango_cairo_context_set_font_options);
  GATEHALL_DRAWS_WITH(pango_cairo_context_set_resolution);
  GATEHALL_DRAWS_WITH(pango_cairo_create_context);
  GATEHALL_DRAWS_WITH(pango_cairo_show_layout);
  GATEHALL_DRAWS_WITH(pango_context_set_round_glyph_positions);
  GATEHALL_DRAWS_WITH(pango_font_description_free);
  GATEHALL_DRAWS_WITH(pango_font_description_from_string);
  GATEHALL_DRAWS_WITH(pango_layout_get_baseline);
  GATEHALL_DRAWS_WITH(pango_layout_get_size);
  GATEHALL_DRAWS_WITH(pango_layout_get_unknown_glyphs_count);
  GATEHALL_DRAWS_WITH(pango_layout_new);
  GATEHALL_DRAWS_WITH(pango_layout_set_font_description);
  GATEHALL_DRAWS_WITH(pango_layout_set_single_paragraph_mode);
  GATEHALL_DRAWS_WITH(pango_layout_set_text);
#undef GATEHALL_DRAWS_WITH
};

const Library& library() {
  static const Library functions;
  return functions;
}

struct Release {
  void operator()(cairo_t* cairo) const { library().cairo_destroy(cairo); }
  void operator()(cairo_surface_t* surface) const { library().cairo_surface_destroy(surface); }
  void operator()(cairo_font_options_t* options) const {
    library().cairo_font_options_destroy(options);
  }
  void operator()(PangoContext* context) const { library().g_object_unref(context); }
  void operator()(PangoLayout* layout) const { library().g_object_unref(layout); }
  void operator()(PangoFontDescription* font) const { library().pango_font_description_free(font); }
};

template <class Object>
using Owned = std::unique_ptr<Object, Release>;

constexpr double kFullTurn = 2 * std::numbers::pi;

void check(cairo_status_t status) {
  if (status == CAIRO_STATUS_SUCCESS) return;
  throw PlatformException(std::string("Unable to draw: ") +
                          library().cairo_status_to_string(status));
}

cairo_status_t append(void* text, const unsigned char* bytes, unsigned length) {
  static_cast<std::string*>(text)->append(reinterpret_cast<const char*>(bytes), length);
  return CAIRO_STATUS_SUCCESS;
}

double fraction(Colour colour, unsigned shift) {
  return static_cast<double>((colour >> shift) & 0xFFU) / 255;
}

double points(int pangoUnits) { return static_cast<double>(pangoUnits) / PANGO_SCALE; }

}  // namespace

struct Canvas::Drawing {
  Format format;
  std::string bytes;
  Owned<cairo_surface_t> surface;
  Owned<cairo_t> cairo;
  Owned<PangoContext> texts;

  std::set<char32_t> withoutFont{};

  Drawing(Format as, double width, double height, double scale) : format(as) {
    const double across = width * scale;
    const double down = height * scale;
    const auto& cairoLibrary = library();
    surface.reset(
        format == Format::SVG
            ? cairoLibrary.cairo_svg_surface_create_for_stream(append, &bytes, across, down)
            : cairoLibrary.cairo_image_surface_create(CAIRO_FORMAT_ARGB32, static_cast<int>(across),
                                                      static_cast<int>(down)));
    check(cairoLibrary.cairo_surface_status(surface.get()));
    cairo.reset(cairoLibrary.cairo_create(surface.get()));
    check(cairoLibrary.cairo_status(cairo.get()));
    cairoLibrary.cairo_scale(cairo.get(), scale, scale);

    texts.reset(cairoLibrary.pango_cairo_create_context(cairo.get()));
    cairoLibrary.pango_cairo_context_set_resolution(texts.get(), 72);
    cairoLibrary.pango_context_set_round_glyph_positions(texts.get(), FALSE);
    const Owned<cairo_font_options_t> options(cairoLibrary.cairo_font_options_create());
    cairoLibrary.cairo_font_options_set_hint_style(options.get(), CAIRO_HINT_STYLE_NONE);
    cairoLibrary.cairo_font_options_set_hint_metrics(options.get(), CAIRO_HINT_METRICS_OFF);
    cairoLibrary.pango_cairo_context_set_font_options(texts.get(), options.get());
  }

  void use(Colour colour) const {
    library().cairo_set_source_rgb(cairo.get(), fraction(colour, 16), fraction(colour, 8),
                                   fraction(colour, 0));
  }

  Owned<PangoLayout> layout(const std::string& text, const std::string& font) const {
    Owned<PangoLayout> layout(library().pango_layout_new(texts.get()));
    const Owned<PangoFontDescription> description(
        library().pango_font_description_from_string(font.c_str()));
    library().pango_layout_set_font_description(layout.get(), description.get());
    library().pango_layout_set_single_paragraph_mode(layout.get(), TRUE);
    library().pango_layout_set_text(layout.get(), text.data(), static_cast<int>(text.size()));
    return layout;
  }

  /// Its characters one by one, where it has any that no font has.
  void noteWithoutFont(const std::string& text, const std::string& font) {
    if (library().pango_layout_get_unknown_glyphs_count(layout(text, font).get()) == 0) return;
    const auto units = utf16(text);
    for (std::size_t at = 0; at < units.size();) {
      const bool isPair = (units[at] & 0xFC00U) == 0xD800 && at + 1 < units.size();
      const auto character = units.substr(at, isPair ? 2 : 1);
      if (library().pango_layout_get_unknown_glyphs_count(layout(utf8(character), font).get()) >
          0) {
        withoutFont.insert(isPair ? 0x10000U + ((character[0] & 0x3FFU) << 10U) +
                                        (character[1] & 0x3FFU)
                                  : character[0]);
      }
      at += character.size();
    }
  }

  void show(PangoLayout& layout, double x, double baseline, Colour colour) const {
    use(colour);
    library().cairo_move_to(cairo.get(), x,
                            baseline - points(library().pango_layout_get_baseline(&layout)));
    library().pango_cairo_show_layout(cairo.get(), &layout);
  }
};

Canvas::Canvas(Format format, double width, double height, double scale)
    : mDrawing(std::make_unique<Drawing>(format, width, height, scale)) {}

Canvas::~Canvas() = default;

void Canvas::rectangle(double x, double y, double width, double height, double radius,
                       Colour colour) {
  auto* cairo = mDrawing->cairo.get();
  const auto corner = [&](double centreX, double centreY, int quarter) {
    const double from = kFullTurn / 4 * quarter;
    library().cairo_arc(cairo, centreX, centreY, radius, from, from + kFullTurn / 4);
  };
  mDrawing->use(colour);
  library().cairo_new_sub_path(cairo);
  corner(x + width - radius, y + radius, 3);
  corner(x + width - radius, y + height - radius, 0);
  corner(x + radius, y + height - radius, 1);
  corner(x + radius, y + radius, 2);
  library().cairo_close_path(cairo);
  library().cairo_fill(cairo);
}

void Canvas::circle(double x, double y, double radius, Colour colour) {
  mDrawing->use(colour);
  library().cairo_new_sub_path(mDrawing->cairo.get());
  library().cairo_arc(mDrawing->cairo.get(), x, y, radius, 0, kFullTurn);
  library().cairo_fill(mDrawing->cairo.get());
}

void Canvas::crescent(double x, double y, double radius, Colour colour) {
  auto* cairo = mDrawing->cairo.get();
  // From horn to horn around the outside, and back around the shadow's edge.
  constexpr double horn = kFullTurn / 6;
  constexpr double tilt = -kFullTurn / 12;
  const double shadowX = x + radius * 0.5 * 0.866;
  const double shadowY = y - radius * 0.5 * 0.5;
  mDrawing->use(colour);
  library().cairo_new_sub_path(cairo);
  library().cairo_arc(cairo, x, y, radius, tilt + horn, tilt - horn + kFullTurn);
  library().cairo_arc_negative(cairo, shadowX, shadowY, radius * 0.866, tilt - kFullTurn / 4,
                               tilt + kFullTurn / 4);
  library().cairo_close_path(cairo);
  library().cairo_fill(cairo);
}

void Canvas::roundPicture(const Picture& picture, double x, double y, double radius) {
  auto* cairo = mDrawing->cairo.get();
  auto pixels = picture.pixels;
  // The format's lines have no padding: a pixel is as long as what they are aligned to.
  const Owned<cairo_surface_t> surface(library().cairo_image_surface_create_for_data(
      reinterpret_cast<unsigned char*>(pixels.data()), CAIRO_FORMAT_ARGB32, picture.width,
      picture.height, picture.width * 4));
  check(library().cairo_surface_status(surface.get()));
  library().cairo_save(cairo);
  library().cairo_new_sub_path(cairo);
  library().cairo_arc(cairo, x, y, radius, 0, kFullTurn);
  library().cairo_clip(cairo);
  library().cairo_translate(cairo, x, y);
  const double scale = 2 * radius / std::min(picture.width, picture.height);
  library().cairo_scale(cairo, scale, scale);
  library().cairo_set_source_surface(cairo, surface.get(), -picture.width / 2.0,
                                     -picture.height / 2.0);
  library().cairo_pattern_set_filter(library().cairo_get_source(cairo), CAIRO_FILTER_BEST);
  library().cairo_paint(cairo);
  library().cairo_restore(cairo);
  // What was drawn may still refer to the pixels, which go now; finishing makes it take a copy.
  library().cairo_surface_finish(surface.get());
}

void Canvas::text(const std::string& text, const std::string& font, double x, double baseline,
                  Colour colour) {
  mDrawing->noteWithoutFont(text, font);
  const auto layout = mDrawing->layout(text, font);
  mDrawing->show(*layout, x, baseline, colour);
}

void Canvas::centredText(const std::string& text, const std::string& font, double x,
                         double baseline, Colour colour) {
  mDrawing->noteWithoutFont(text, font);
  const auto layout = mDrawing->layout(text, font);
  int width = 0;
  library().pango_layout_get_size(layout.get(), &width, nullptr);
  mDrawing->show(*layout, x - points(width) / 2, baseline, colour);
}

const std::set<char32_t>& Canvas::withoutFont() const { return mDrawing->withoutFont; }

std::string Canvas::finish() {
  check(library().cairo_status(mDrawing->cairo.get()));
  if (mDrawing->format == Format::PNG) {
    check(library().cairo_surface_write_to_png_stream(mDrawing->surface.get(), append,
                                                      &mDrawing->bytes));
  }
  library().cairo_surface_finish(mDrawing->surface.get());
  check(library().cairo_surface_status(mDrawing->surface.get()));
  return std::move(mDrawing->bytes);
}

}  // namespace gatehall::ctl
