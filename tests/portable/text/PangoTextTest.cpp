#include <gtest/gtest.h>
#include <pango/pangocairo.h>
#include <random>
#include <string>
#include <vector>

#include "gatehall/base/PlatformException.h"
#include "portable/text/PangoText.h"
#include "portable/text/Utf16.h"
#include "tests/platform/contracts/TextSystemContract.h"

namespace gatehall {
namespace {

struct Styled {
  std::string text;
  std::string font;
};

double ours(const std::vector<Styled>& parts) {
  std::vector<std::u16string> texts;
  std::vector<Dictionary> attributes;
  for (const auto& [text, font] : parts) {
    texts.push_back(utf16(text));
    attributes.push_back(font.empty() ? Dictionary() : Dictionary{{"Font", font}});
  }
  std::vector<TextRun> runs;
  for (std::size_t part = 0; part < parts.size(); ++part) {
    runs.push_back({texts[part], attributes[part]});
  }
  return PangoText().width(runs);
}

/// The width of the one line of Pango's own layout.
double layoutWidth(const std::vector<Styled>& parts) {
  auto* context = pango_font_map_create_context(pango_cairo_font_map_get_default());
  pango_cairo_context_set_resolution(context, 72);
  pango_context_set_round_glyph_positions(context, FALSE);
  auto* options = cairo_font_options_create();
  cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
  cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
  pango_cairo_context_set_font_options(context, options);
  cairo_font_options_destroy(options);
  auto* layout = pango_layout_new(context);
  auto* attributes = pango_attr_list_new();
  std::string text;
  for (const auto& part : parts) {
    if (!part.font.empty()) {
      auto* font = pango_font_description_from_string(part.font.c_str());
      auto* attribute = pango_attr_font_desc_new(font);
      attribute->start_index = static_cast<guint>(text.size());
      attribute->end_index = static_cast<guint>(text.size() + part.text.size());
      pango_attr_list_insert(attributes, attribute);
      pango_font_description_free(font);
    }
    text += part.text;
  }
  pango_layout_set_text(layout, text.data(), static_cast<int>(text.size()));
  pango_layout_set_attributes(layout, attributes);
  int width = 0;
  pango_layout_get_size(layout, &width, nullptr);
  pango_attr_list_unref(attributes);
  g_object_unref(layout);
  g_object_unref(context);
  return static_cast<double>(width) / PANGO_SCALE;
}

const std::vector<std::string> kNames = {"Ann Lee",
                                         "Wilhelmina Q. Featherstonehaugh",
                                         "AVATAR fi ffi To. Wa",
                                         "Zoë Åström",
                                         "e\u0301e\u0301",
                                         "Ольга Иванова",
                                         "Ελένη Παππά",
                                         "ליאת כהן",
                                         "ليلى حداد",
                                         "Ann ليلى Lee כהן 12",
                                         "李小明",
                                         "山田 花子",
                                         "आरती शर्मा",
                                         "김서연",
                                         "👩‍👩‍👧 👍🏽 🇩🇪",
                                         "a\u200Db",
                                         "Wilhel\u2026haugh",
                                         "   ",
                                         "x"};

TEST(PangoText, IsAsWideAsPangosOwnLayout) {
  for (const auto& name : kNames) {
    for (const auto* font : {"", "Sans 12", "Serif Bold 9.5", "Monospace Italic 40"}) {
      EXPECT_DOUBLE_EQ(ours({{name, font}}), layoutWidth({{name, font}})) << name << ", " << font;
    }
  }
}

TEST(PangoText, IsAsWideAsPangosOwnLayoutInSeveralStyles) {
  const std::vector<Styled> parts = {
      {"Wilhel", "Sans Bold 14"}, {"mina ", "Sans Bold 14"}, {"ليلى ", "Serif 10"}, {"Lee", ""}};
  EXPECT_DOUBLE_EQ(ours(parts), layoutWidth(parts));
}

using Pieces = std::vector<std::string>;

const Pieces kLatin = {"a", "V",      "To",     "f",  "fi", "ffl", "ff", "j",  "Th", "st", " ",
                       ".", ". ",     "\u2026", "-",  "é",  "Þ",   "W.", "AV", "ct", "ij", "Æ",
                       "1", "\u2019", "Q",      "y,", "P.", "ż",   "ſ",  "rn", "«",  "½",  "@"};
const Pieces kGreek = {"α",      "Δ", "ώ", "Γι", "ΑΥ", "Π.", " ", ". ",
                       "\u2026", "-", "1", "(",  "Τα", "ς",  "ΐ"};
const Pieces kCyrillic = {"а",      "Г", "й", "Ту", "УА", "Р.", " ", ". ",
                          "\u2026", "-", "1", "(",  "Ѣ",  "ь",  "ғ"};

TEST(PangoText, IsAsWideAsPangosOwnLayoutWhateverWasMeasuredBefore) {
  std::mt19937 random(20261121);
  Pieces all = kLatin;
  all.insert(all.end(), kGreek.begin(), kGreek.end());
  all.insert(all.end(), kCyrillic.begin(), kCyrillic.end());
  for (const auto* font : {"Sans 12", "Serif Bold 9.5", "Cantarell 15", "Monospace 11"}) {
    for (const auto& pieces : {kLatin, kGreek, kCyrillic, all}) {
      for (int round = 0; round < 500; ++round) {
        std::string name;
        for (auto count = random() % 20; count > 0; --count) {
          name += pieces[random() % pieces.size()];
        }
        ASSERT_DOUBLE_EQ(ours({{name, font}}), layoutWidth({{name, font}})) << name << ", " << font;
      }
    }
  }
}

TEST(PangoText, GrowsWithTheFont) {
  EXPECT_NEAR(ours({{"Ann Lee", "Sans 24"}}), 2 * ours({{"Ann Lee", "Sans 12"}}), 0.1);
}

TEST(PangoText, PassesOverAttributesThatItDoesNotDrawBy) {
  const std::u16string text = u"Ann";
  const Dictionary plain;
  const Dictionary odd{{"Font", 7}, {"Advance", 3}};
  const std::vector<TextRun> plainRuns{{text, plain}};
  const std::vector<TextRun> oddRuns{{text, odd}};
  EXPECT_EQ(PangoText().width(oddRuns), PangoText().width(plainRuns));
}

TEST(PangoText, MeasuresTenThousandUnitsWithoutOverflowAndNoMore) {
  const Dictionary large{{"Font", "Sans 150"}};
  for (const char16_t letter :
       {u'W', u'\u0e01'}) {  // one measured letter by letter, one as a whole
    const std::u16string one(1, letter);
    const std::u16string longest(10'000, letter);
    const std::u16string tooLong(10'001, letter);
    const std::vector<TextRun> oneRun{{one, large}};
    const std::vector<TextRun> longestRun{{longest, large}};
    const std::vector<TextRun> tooLongRun{{tooLong, large}};
    PangoText text;
    EXPECT_GT(text.width(longestRun), 5'000 * text.width(oneRun)) << static_cast<int>(letter);
    EXPECT_THROW(text.width(tooLongRun), PlatformException);
  }
}

}  // namespace

namespace contracts {

INSTANTIATE_TEST_SUITE_P(Pango, TextSystemContract,
                         testing::Values([] { return std::make_unique<PangoText>(); }));

}  // namespace contracts
}  // namespace gatehall
