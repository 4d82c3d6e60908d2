#include "ctl/picture/UsersPicture.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <vector>

#include "ctl/picture/PictureFile.h"
#include "gatehall/platform/Platform.h"
#include "gatehall/text/TruncationExtensions.h"
#include "portable/text/PangoText.h"
#include "portable/text/Utf16.h"

namespace gatehall::ctl {

namespace {

constexpr std::size_t kMostUsers = 400;

// Lengths, in pixels.
constexpr double kMargin = 16;
constexpr double kCardRadius = 14;
constexpr double kPadding = 16;
constexpr double kRowHeight = 72;
constexpr double kFaceRadius = 23;
constexpr double kGap = 14;
constexpr double kNameBaseline = 31;
constexpr double kDetailsBaseline = 52;

constexpr Colour kBackground = 0xE9EDF2;
constexpr Colour kEdge = 0xD9DFE7;
constexpr Colour kCard = 0xFFFFFF;
constexpr Colour kSeparator = 0xEDF0F4;
constexpr Colour kNameColour = 0x1B2430;
constexpr Colour kDetailsColour = 0x6A7583;
constexpr Colour kGreen = 0x23824F;
constexpr Colour kAmber = 0xA86400;
constexpr Colour kIndigo = 0x4A55B8;
constexpr Colour kRed = 0xBB3A3A;

/// White initials are legible on each.
constexpr std::array<Colour, 10> kFaceColours = {0x3C6FB4, 0x2C7F75, 0x8455A8, 0xB5523B, 0x4F7D33,
                                                 0xB0487E, 0x5A62BE, 0x96691C, 0x3B7C9B, 0x77666B};

const std::string kNameFont = "Cantarell, Sans, Bold 15.5";
const std::string kDetailsFont = "Cantarell, Sans, 12.5";
const std::string kInitialsFont = "Cantarell, Sans, Bold 17";

/// The text on one line, cut in the middle when it is too wide.
std::string fitted(const std::string& text, const std::string& font, double width) {
  auto line = utf16(text);
  std::replace_if(
      line.begin(), line.end(), [](char16_t unit) { return unit < u' '; }, u' ');
  const AttributedString styled(std::move(line), {{std::string(PangoText::kFontAttribute), font}});
  // Cutting allows for what rounding may add, which nothing here does.
  constexpr double slack = 3;
  try {
    return utf8(truncatedStringToFit(styled, static_cast<float>(width + slack)).string());
  } catch (const RangeException&) {
    // Full stops or spaces at its end led the cut past it.
    auto rest = styled.string();
    rest.resize(rest.find_last_not_of(u" .") + 1);
    return rest.size() < styled.length() ? fitted(utf8(rest), font, width) : "\u2026";
  }
}

double widthOf(const std::string& text, const std::string& font) {
  return AttributedString(utf16(text), {{std::string(PangoText::kFontAttribute), font}}).width();
}

std::string nameOf(const CachedUser& user) {
  for (const auto& name : {user.longName(), user.shortName()}) {
    if (name && !name->empty()) return *name;
  }
  return std::to_string(user.getUid());
}

/// Letters of which two beside each other read as initials; those of other scripts may join.
bool standsAlone(char16_t letter) { return letter < 0x530; }

std::u16string firstLetter(std::u16string_view word) {
  const auto [start, length] = platform().text().composedCharacterRange(word, 0);
  std::u16string letter(word.substr(start, length));
  if (letter[0] >= u'a' && letter[0] <= u'z') letter[0] = static_cast<char16_t>(letter[0] - 32);
  return letter;
}

/// Those of the first and the last word.
std::string initials(const std::string& name) {
  std::vector<std::u16string> letters;
  const auto text = utf16(name);
  std::u16string_view rest = text;
  while (!rest.empty()) {
    const auto start = rest.find_first_not_of(u' ');
    if (start == std::u16string_view::npos) break;
    rest.remove_prefix(start);
    letters.push_back(firstLetter(rest));
    rest.remove_prefix(std::min(rest.find(u' '), rest.size()));
  }
  if (letters.empty()) return {};
  const auto& first = letters.front();
  const auto& last = letters.back();
  const bool both = letters.size() > 1 && standsAlone(first[0]) && standsAlone(last[0]);
  return utf8(both ? first + last : first);
}

/// The same one for a user every time (FNV-1a).
Colour faceColour(const CachedUser& user) {
  std::uint32_t hash = 2166136261U;
  for (const char byte : user.getGUID().value_or(nameOf(user))) {
    hash = (hash ^ static_cast<unsigned char>(byte)) * 16777619U;
  }
  return kFaceColours.at((hash ^ hash >> 16U) % kFaceColours.size());
}

std::tm brokenDown(Date date, bool inLocalTime) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(date).time_since_epoch().count();
  const auto time = static_cast<std::time_t>(seconds);
  std::tm parts{};
  if (inLocalTime) {
    localtime_r(&time, &parts);
  } else {
    gmtime_r(&time, &parts);
  }
  return parts;
}

/// "20:00" of the same day, "Mon 20:00" within a week, "2026-12-24 20:00" beyond.
std::string timeText(Date date, Date now, bool inLocalTime) {
  const auto then = brokenDown(date, inLocalTime);
  const auto today = brokenDown(now, inLocalTime);
  const bool isToday = then.tm_year == today.tm_year && then.tm_yday == today.tm_yday;
  const bool isSoon = date >= now && date - now < std::chrono::days(6);
  std::array<char, 64> text{};
  std::strftime(text.data(), text.size(),
                isToday  ? "%H:%M"
                : isSoon ? "%a %H:%M"
                         : "%F %H:%M",
                &then);
  return text.data();
}

struct Mark {
  std::string text;
  Colour colour;
  bool isCurfew = false;
};

std::vector<Mark> marksOf(const CachedUser& user, const UsersPictureStyle& style, Date now) {
  std::vector<Mark> marks;
  // Whoever is logged in is marked as suspended, the current user too.
  if (user.isCurrentUser()) {
    marks.push_back({"current", kGreen});
  } else if (user.isSuspended()) {
    marks.push_back({"suspended", kAmber});
  }
  const auto curfew = user.kinwatchNextCurfewTime();
  const auto time = curfew ? timeText(*curfew, now, style.inLocalTime) : std::string();
  if (!user.kinwatchAllowsLogin()) {
    marks.push_back({curfew ? "curfew until " + time : "curfew", kRed, true});
  } else if (curfew) {
    marks.push_back({"until " + time, kIndigo, true});
  }
  return marks;
}

/// Draws one user's row, whose top is at y.
class Row {
 public:
  Row(Canvas& canvas, const UsersPictureStyle& style, const CachedUser& user, double y)
      : mCanvas(canvas), mStyle(style), mUser(user), mTop(y) {}

  static constexpr double kTextX = kMargin + kPadding + 2 * kFaceRadius + kGap;

  void draw(Date now) {
    face();
    const auto name = fitted(nameOf(mUser), kNameFont, right() - kTextX);
    mCanvas.text(name, kNameFont, kTextX, mTop + kNameBaseline, kNameColour);
    details(marksOf(mUser, mStyle, now));
  }

 private:
  double right() const { return mStyle.width - kMargin - kPadding; }

  void face() {
    const double x = kMargin + kPadding + kFaceRadius;
    const double y = mTop + kRowHeight / 2;
    const auto picture = this->picture();
    if (picture) {
      mCanvas.roundPicture(*picture, x, y, kFaceRadius);
    } else {
      mCanvas.circle(x, y, kFaceRadius, faceColour(mUser));
      auto letters = initials(nameOf(mUser));
      // A character that no font has is drawn as a box with its number.
      if (widthOf(letters, kInitialsFont) > 1.7 * kFaceRadius) {
        letters = initials(mUser.shortName().value_or(""));
      }
      mCanvas.centredText(letters, kInitialsFont, x, y + 6, kCard);
    }
    badge(x + kFaceRadius * 0.72, y + kFaceRadius * 0.72);
  }

  std::optional<Picture> picture() const {
    const auto path = mUser.userPicturePath();
    const auto file = path ? mStyle.locatePicture(*path) : std::nullopt;
    return file ? readPicture(*file) : std::nullopt;
  }

  void badge(double x, double y) {
    if (!mUser.isCurrentUser() && !mUser.isSuspended()) return;
    mCanvas.circle(x, y, 8, kCard);
    if (mUser.isCurrentUser()) {
      mCanvas.circle(x, y, 5.5, 0x2FA866);
    } else {
      mCanvas.circle(x, y, 5.5, 0xE39A1F);
      mCanvas.rectangle(x - 2.2, y - 2.5, 1.5, 5, 0.5, kCard);
      mCanvas.rectangle(x + 0.7, y - 2.5, 1.5, 5, 0.5, kCard);
    }
  }

  /// The short name, and behind it the marks, as far as there is room: marks come first then.
  void details(const std::vector<Mark>& marks) {
    constexpr double gap = 12;
    double room = right() - kTextX;
    for (const auto& mark : marks) room -= iconWidth(mark) + widthOf(mark.text, kDetailsFont) + gap;
    double x = kTextX;
    const auto baseline = mTop + kDetailsBaseline;
    const auto name = mUser.shortName().value_or("");
    if (!name.empty() && (marks.empty() || room > 30)) {
      const auto text = fitted(name, kDetailsFont, room);
      mCanvas.text(text, kDetailsFont, x, baseline, kDetailsColour);
      x += widthOf(text, kDetailsFont) + gap;
    }
    for (const auto& mark : marks) {
      const double left = right() - x - iconWidth(mark);
      if (left < 30) return;
      icon(mark, x, baseline);
      x += iconWidth(mark);
      const auto text = fitted(mark.text, kDetailsFont, left);
      mCanvas.text(text, kDetailsFont, x, baseline, mark.colour);
      x += widthOf(text, kDetailsFont) + gap;
    }
  }

  static double iconWidth(const Mark& mark) { return mark.isCurfew ? 15 : 11; }

  void icon(const Mark& mark, double x, double baseline) {
    if (mark.isCurfew) {
      mCanvas.crescent(x + 5.5, baseline - 4.5, 5.5, mark.colour);
    } else {
      mCanvas.circle(x + 3.5, baseline - 4.5, 3.5, mark.colour);
    }
  }

  Canvas& mCanvas;
  const UsersPictureStyle& mStyle;
  const CachedUser& mUser;
  double mTop;
};

}  // namespace

std::string usersPicture(const std::shared_ptr<CachedUserList>& users,
                         const UsersPictureStyle& style, Date now) {
  const std::size_t count = users ? users->count() : 0;
  const auto shown = std::min(count, kMostUsers);
  // Where there is something to say instead of or behind the users, it takes a row.
  const auto rows = shown + (count == shown && count > 0 ? 0 : 1);
  const double cardHeight = static_cast<double>(rows) * kRowHeight;
  const double width = style.width;

  Canvas canvas(style.format, width, cardHeight + 2 * kMargin);
  canvas.rectangle(0, 0, width, cardHeight + 2 * kMargin, 0, kBackground);
  canvas.rectangle(kMargin - 1, kMargin - 1, width - 2 * kMargin + 2, cardHeight + 2,
                   kCardRadius + 1, kEdge);
  canvas.rectangle(kMargin, kMargin, width - 2 * kMargin, cardHeight, kCardRadius, kCard);
  double y = kMargin;
  if (count > 0) {
    for (const auto& user : *users) {
      if (y >= kMargin + static_cast<double>(shown) * kRowHeight) break;
      if (y > kMargin) {
        canvas.rectangle(Row::kTextX, y - 0.5, width - kMargin - Row::kTextX, 1, 0, kSeparator);
      }
      Row(canvas, style, *user, y).draw(now);
      y += kRowHeight;
    }
  }
  if (rows > shown) {
    const auto text =
        count == 0 ? "Nobody is shown" : "and " + std::to_string(count - shown) + " more";
    canvas.centredText(text, kDetailsFont, width / 2, y + kRowHeight / 2 + 4.5, kDetailsColour);
  }
  return canvas.finish();
}

}  // namespace gatehall::ctl
