#include "platform/portable/PangoText.h"

#include <map>
#include <memory>
#include <pango/pangocairo.h>
#include <string>

#include "platform/PlatformException.h"
#include "platform/portable/IcuCharacters.h"
#include "platform/portable/LazyLibrary.h"
#include "platform/portable/Utf16.h"

namespace gatehall {

namespace {

struct Pango {
  // Pango, Cairo and GLib come along as libraries that this one needs.
  LazyLibrary library{"libpangocairo-1.0.so.0"};
  decltype(::pango_itemize)* itemize = GATEHALL_FUNCTION(library, pango_itemize);
  decltype(::pango_shape_full)* shape = GATEHALL_FUNCTION(library, pango_shape_full);
  decltype(::pango_glyph_string_get_width)* glyphWidth =
      GATEHALL_FUNCTION(library, pango_glyph_string_get_width);
  decltype(::pango_glyph_string_free)* freeGlyphs =
      GATEHALL_FUNCTION(library, pango_glyph_string_free);
  decltype(::pango_item_free)* freeItem = GATEHALL_FUNCTION(library, pango_item_free);
  decltype(::g_list_free)* freeList = GATEHALL_FUNCTION(library, g_list_free);
  decltype(::pango_attr_list_new)* newAttributes = GATEHALL_FUNCTION(library, pango_attr_list_new);
  decltype(::pango_attr_list_unref)* freeAttributes =
      GATEHALL_FUNCTION(library, pango_attr_list_unref);
  decltype(::pango_attr_list_insert)* insertAttribute =
      GATEHALL_FUNCTION(library, pango_attr_list_insert);
  decltype(::pango_attr_font_desc_new)* newFontAttribute =
      GATEHALL_FUNCTION(library, pango_attr_font_desc_new);
  decltype(::pango_font_description_from_string)* newFont =
      GATEHALL_FUNCTION(library, pango_font_description_from_string);
  decltype(::pango_font_description_free)* freeFont =
      GATEHALL_FUNCTION(library, pango_font_description_free);
  decltype(::g_object_unref)* unref = GATEHALL_FUNCTION(library, g_object_unref);
};

const Pango& pango() {
  static const Pango functions;
  return functions;
}

struct Release {
  void operator()(PangoContext* context) const { pango().unref(context); }
  void operator()(PangoFontDescription* font) const { pango().freeFont(font); }
  void operator()(PangoAttrList* attributes) const { pango().freeAttributes(attributes); }
  void operator()(PangoGlyphString* glyphs) const { pango().freeGlyphs(glyphs); }
  void operator()(PangoItem* item) const { pango().freeItem(item); }
  void operator()(GList* list) const { pango().freeList(list); }
};

template <class Object>
using Owned = std::unique_ptr<Object, Release>;

/// Fonts and what is known about them serve one thread.
class Measure {
 public:
  Measure() {
    const auto& library = mPango.library;
    auto* fonts = GATEHALL_FUNCTION(library, pango_cairo_font_map_get_default)();
    mContext.reset(GATEHALL_FUNCTION(library, pango_font_map_create_context)(fonts));
    GATEHALL_FUNCTION(library, pango_cairo_context_set_resolution)(mContext.get(), 72);
    GATEHALL_FUNCTION(library, pango_context_set_round_glyph_positions)(mContext.get(), FALSE);
    auto* options = GATEHALL_FUNCTION(library, cairo_font_options_create)();
    GATEHALL_FUNCTION(library, cairo_font_options_set_hint_style)(options, CAIRO_HINT_STYLE_NONE);
    GATEHALL_FUNCTION(library, cairo_font_options_set_hint_metrics)
    (options, CAIRO_HINT_METRICS_OFF);
    GATEHALL_FUNCTION(library, pango_cairo_context_set_font_options)(mContext.get(), options);
    GATEHALL_FUNCTION(library, cairo_font_options_destroy)(options);
  }

  /// Items are what a layout puts on its one line, without the layout's search for line ends.
  double width(std::span<const TextRun> runs) {
    std::string text;
    const Owned<PangoAttrList> attributes(mPango.newAttributes());
    for (const auto& run : runs) {
      const auto start = text.size();
      text += utf8(run.text);
      applyFont(run.attributes, start, text.size(), *attributes);
    }
    const auto length = static_cast<int>(text.size());
    const Owned<GList> items(
        mPango.itemize(mContext.get(), text.data(), 0, length, attributes.get(), nullptr));
    int width = 0;
    for (const auto* entry = items.get(); entry != nullptr; entry = entry->next) {
      const Owned<PangoItem> item(static_cast<PangoItem*>(entry->data));
      mPango.shape(text.data() + item->offset, item->length, text.data(), length, &item->analysis,
                   mGlyphs.get());
      width += mPango.glyphWidth(mGlyphs.get());
    }
    return static_cast<double>(width) / PANGO_SCALE;
  }

 private:
  void applyFont(const Dictionary& attributes, std::size_t start, std::size_t end,
                 PangoAttrList& list) {
    const auto entry = attributes.find(PangoText::kFontAttribute);
    const auto* name = entry != attributes.end() ? entry->second.string() : nullptr;
    if (name == nullptr) return;
    auto& font = mFonts[*name];
    if (!font) font.reset(mPango.newFont(name->c_str()));
    auto* attribute = mPango.newFontAttribute(font.get());
    attribute->start_index = static_cast<guint>(start);
    attribute->end_index = static_cast<guint>(end);
    mPango.insertAttribute(&list, attribute);
  }

  const Pango& mPango = pango();
  Owned<PangoContext> mContext;
  Owned<PangoGlyphString> mGlyphs{GATEHALL_FUNCTION(mPango.library, pango_glyph_string_new)()};
  std::map<std::string, Owned<PangoFontDescription>, std::less<>> mFonts;
};

/// Pango counts bytes in 32 bits and widths in 1024ths of a point.
constexpr std::size_t kLongestText = 100'000;

}  // namespace

double PangoText::width(std::span<const TextRun> runs) {
  std::size_t units = 0;
  for (const auto& run : runs) units += run.text.size();
  if (units == 0) return 0;
  if (units > kLongestText) throw PlatformException("A text is too long to be measured.");
  thread_local Measure measure;
  return measure.width(runs);
}

std::pair<std::size_t, std::size_t> PangoText::composedCharacterRange(std::u16string_view text,
                                                                      std::size_t index) {
  return composedCharacterAt(text, index);
}

}  // namespace gatehall
