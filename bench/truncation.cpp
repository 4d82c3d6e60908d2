// Cutting 70,000 long names in the middle to fit 120 points, in a real font, against Pango's own
// layout with an ellipsis in the middle, of the same names. Both start from the names in their own
// encoding and end with what is to be drawn being known.

#include <array>
#include <cstdlib>
#include <pango/pangocairo.h>
#include <random>
#include <thread>

#include "bench/Figures.h"
#include "bench/LargeWorld.h"
#include "gatehall/text/TruncationExtensions.h"
#include "instrumented/InstrumentedPlatform.h"
#include "portable/text/PangoText.h"
#include "portable/text/Utf16.h"

namespace {

using namespace gatehall;
using namespace gatehall::bench;

constexpr unsigned kNames = 70000;
constexpr float kWidth = 120;
constexpr const char* kFont = "Sans 12";

/// Counts what it is asked.
class CountedText final : public TextSystem {
 public:
  double width(std::span<const TextRun> runs) override {
    ++mWidths;
    return mText.width(runs);
  }
  std::pair<std::size_t, std::size_t> composedCharacterRange(std::u16string_view text,
                                                             std::size_t index) override {
    return mText.composedCharacterRange(text, index);
  }
  unsigned widths() const { return mWidths; }

 private:
  PangoText mText;
  unsigned mWidths = 0;
};

/// No two alike, from 30 to 50 characters long: of eight, six in Latin letters, one in Greek and
/// one in Cyrillic ones. The middle of each is of random syllables, so that no part is seen too
/// often.
std::string longName(unsigned number, std::mt19937& random) {
  static constexpr std::array latin = {"wil", "hel", "mi",  "na",   "fea", "ther", "ston", "haugh",
                                       "ch",  "ol",  "mon", "de",   "ley", "max",  "ri",   "tz",
                                       "fi",  "ff",  "øy",  "vind", "åse", "é",    "gw",   "yn"};
  static constexpr std::array greek = {"πα", "πα", "δό", "που", "λος", "θε",
                                       "ο",  "δώ", "ρα", "γι",  "άν",  "νης"};
  static constexpr std::array cyrillic = {"вла", "ди",   "слав", "пре", "об", "ра",
                                          "жен", "ский", "оль",  "га",  "ми", "хай"};
  const auto syllables = [&](const auto& from) {
    std::string word;
    for (auto count = 4 + random() % 4; count > 0; --count) word += from.at(random() % from.size());
    return word;
  };
  const auto name = [&](const auto& from) {
    return syllables(from) + " " + std::string(from.at(random() % from.size())) + ". " +
           syllables(from) + "-" + syllables(from) + std::to_string(number);
  };
  if (number % 8 == 6) return name(greek);
  return number % 8 == 7 ? name(cyrillic) : name(latin);
}

void install(std::shared_ptr<TextSystem> text) {
  Platform::install(std::make_shared<InstrumentedPlatform>(
      std::make_shared<World>(), std::vector<Fault>(), nullptr,
      InstrumentedPlatform::Substitutes{
          .loginService = nullptr, .log = nullptr, .text = std::move(text)}));
}

PangoLayout* ellipsizingLayout() {
  auto* context = pango_font_map_create_context(pango_cairo_font_map_get_default());
  pango_cairo_context_set_resolution(context, 72);
  pango_context_set_round_glyph_positions(context, FALSE);
  auto* layout = pango_layout_new(context);
  auto* font = pango_font_description_from_string(kFont);
  pango_layout_set_font_description(layout, font);
  pango_layout_set_width(layout, static_cast<int>(kWidth) * PANGO_SCALE);
  pango_layout_set_ellipsize(layout, PANGO_ELLIPSIZE_MIDDLE);
  pango_font_description_free(font);
  g_object_unref(context);
  return layout;
}

/// Microseconds a name of one round, on a thread of its own, which starts without what fonts and
/// characters' widths were kept before.
double microsecondsOnNewThread(const auto& round) {
  double seconds = 0;
  std::thread([&] { seconds = round(); }).join();
  return seconds * 1e6;
}

}  // namespace

int main() {
  std::vector<std::string> names;
  std::vector<AttributedString> strings;
  std::mt19937 random(kNames);
  for (unsigned number = 0; number < kNames; ++number) {
    names.push_back(longName(number, random));
    strings.emplace_back(utf16(names.back()), Dictionary{{"Font", kFont}});
  }

  const auto counted = std::make_shared<CountedText>();
  install(counted);
  for (const auto& string : strings) truncatedStringToFit(string, kWidth);
  // Each name is measured once as a whole and once as the range to cut, and then once a pass.
  const double passes = static_cast<double>(counted->widths()) / kNames - 2;

  install(std::make_shared<PangoText>());
  const auto ours = [&] {
    return secondsPerCall(kNames, [&](unsigned name) {
      if (truncatedStringToFit(strings[name], kWidth).length() == 0) std::abort();
    });
  };
  const auto pangos = [&] {
    auto* layout = ellipsizingLayout();
    const auto seconds = secondsPerCall(kNames, [&](unsigned name) {
      pango_layout_set_text(layout, names[name].data(), static_cast<int>(names[name].size()));
      if (pango_layout_is_ellipsized(layout) == FALSE) std::abort();
    });
    g_object_unref(layout);
    return seconds;
  };
  const auto taken = inTurns(
      5, [&] { return microsecondsOnNewThread(ours); },
      [&] { return microsecondsOnNewThread(pangos); });
  Platform::install(nullptr);

  report({.name = "truncation-passes", .unit = "passes a name", .ours = {passes}});
  report({.name = "truncation",
          .unit = "µs a name",
          .ours = taken.ours,
          .theirs = taken.theirs,
          .peer = "Pango's own ellipsis",
          .aim = 1.0});
}
