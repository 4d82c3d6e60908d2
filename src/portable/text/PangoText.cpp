#include "portable/text/PangoText.h"

#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <pango/pangocairo.h>
#include <string>
#include <unordered_map>

#include "gatehall/base/PlatformException.h"
#include "portable/LazyLibrary.h"
#include "portable/text/IcuCharacters.h"
#include "portable/text/Utf16.h"

namespace gatehall {

namespace {

struct Pango {
  // Pango, Cairo and GLib come along as libraries that this one needs.
  LazyLibrary library{"libpangocairo-1.0.so.0", "libpangocairo-1.0-0"};
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

constexpr std::size_t kMostSteps = 100'000;

enum class Alphabet { None, Any, Latin, Greek, Cyrillic };

/// The alphabet of a character that neither combines nor joins; Any for digits and punctuation.
Alphabet alphabetOf(char16_t character) {
  const auto within = [character](char16_t first, char16_t last) {
    return character >= first && character <= last;
  };
  if (within(u'a', u'z') || within(u'A', u'Z')) return Alphabet::Latin;
  if (within(u' ', u'~') || within(0x2010, 0x2026)) return Alphabet::Any;
  if (within(0xC0, 0x24F) || within(0x1E00, 0x1EFF)) return Alphabet::Latin;
  if (within(0x386, 0x3FF)) return Alphabet::Greek;
  return within(0x400, 0x481) || within(0x48A, 0x52F) ? Alphabet::Cyrillic : Alphabet::None;
}

/// Whether the width of each character may follow from that and the two before it: they are of one
/// alphabet, and none stands three times, where it depends on the first which two of them join.
bool isStepwise(std::u16string_view text) {
  auto alphabet = Alphabet::Any;
  for (std::size_t index = 0; index < text.size(); ++index) {
    const auto of = alphabetOf(text[index]);
    if (of == Alphabet::None) return false;
    if (alphabet == Alphabet::Any) alphabet = of;
    if (of != Alphabet::Any && of != alphabet) return false;
    const bool isThird =
        index > 1 && text[index] == text[index - 1] && text[index] == text[index - 2];
    if (isThird && of != Alphabet::Any) return false;
  }
  return true;
}

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

  double width(std::span<const TextRun> runs) {
    const auto stepped = runs.size() == 1 ? steppedWidth(runs.front()) : std::nullopt;
    return static_cast<double>(stepped ? *stepped : std::int64_t{shaped(runs).width}) / PANGO_SCALE;
  }

 private:
  struct Font {
    Owned<PangoFontDescription> description;
    /// How much wider text gets by its last character, by that and the two before it; kNone when
    /// that does not follow from them.
    std::unordered_map<std::uint64_t, int> steps;
  };

  struct Shaped {
    int width = 0;
    /// The one font of the whole text, as long as the context; nullptr when there are several.
    const PangoFont* font = nullptr;
  };

  static constexpr int kNone = std::numeric_limits<int>::min();

  /// Names are measured over and over with a character more or less, so that the characters' widths
  /// are kept. In these alphabets two characters before one decide how it is drawn, one for kerning
  /// and two for ligatures, as long as none is missing from the font. Absent for another text.
  std::optional<std::int64_t> steppedWidth(const TextRun& run) {
    if (!isStepwise(run.text)) return std::nullopt;
    auto& font = fontOf(run.attributes);
    if (font.steps.size() > kMostSteps) font.steps.clear();
    std::int64_t width = 0;
    std::uint64_t key = 0;
    for (std::size_t index = 0; index < run.text.size(); ++index) {
      key = (key << 16U | run.text[index]) & 0xFFFF'FFFF'FFFFU;
      const auto [entry, isNew] = font.steps.try_emplace(key, kNone);
      if (isNew) {
        const auto start = index < 2 ? 0 : index - 2;
        entry->second = step(run.text.substr(start, index + 1 - start), run.attributes);
      }
      if (entry->second == kNone) return std::nullopt;
      width += entry->second;
    }
    return width;
  }

  /// What the text's last character adds.
  int step(std::u16string_view text, const Dictionary& attributes) {
    const TextRun sample{u"n", attributes};
    const TextRun with{text, attributes};
    const TextRun without{text.substr(0, text.size() - 1), attributes};
    const auto whole = shaped({&with, 1});
    if (whole.font == nullptr || whole.font != shaped({&sample, 1}).font) return kNone;
    return whole.width - shaped({&without, 1}).width;
  }

  /// Items are what a layout puts on its one line, without the layout's search for line ends.
  Shaped shaped(std::span<const TextRun> runs) {
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
    Shaped result;
    for (const auto* entry = items.get(); entry != nullptr; entry = entry->next) {
      const Owned<PangoItem> item(static_cast<PangoItem*>(entry->data));
      mPango.shape(text.data() + item->offset, item->length, text.data(), length, &item->analysis,
                   mGlyphs.get());
      result.width += mPango.glyphWidth(mGlyphs.get());
      result.font = entry == items.get() || result.font == item->analysis.font ? item->analysis.font
                                                                               : nullptr;
    }
    return result;
  }

  /// Without the attribute, that of no description.
  Font& fontOf(const Dictionary& attributes) {
    const auto entry = attributes.find(PangoText::kFontAttribute);
    const auto* name = entry != attributes.end() ? entry->second.string() : nullptr;
    auto& font = mFonts[name != nullptr ? *name : std::string()];
    if (!font.description && name != nullptr) font.description.reset(mPango.newFont(name->c_str()));
    return font;
  }

  void applyFont(const Dictionary& attributes, std::size_t start, std::size_t end,
                 PangoAttrList& list) {
    const auto& font = fontOf(attributes);
    if (!font.description) return;
    auto* attribute = mPango.newFontAttribute(font.description.get());
    attribute->start_index = static_cast<guint>(start);
    attribute->end_index = static_cast<guint>(end);
    mPango.insertAttribute(&list, attribute);
  }

  const Pango& mPango = pango();
  Owned<PangoContext> mContext;
  Owned<PangoGlyphString> mGlyphs{GATEHALL_FUNCTION(mPango.library, pango_glyph_string_new)()};
  std::map<std::string, Font, std::less<>> mFonts;
};

/// Pango sums up widths in 32 bits, in 1024ths of a point.
constexpr std::size_t kLongestText = 10'000;

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
