#include "ctl/picture/UsersPicture.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <utility>
#include <vector>

#include "ctl/picture/MissingScripts.h"
#include "gatehall/platform/Platform.h"
#include "gatehall/text/AttributedString.h"
#include "listing/ListedUser.h"
#include "people/Fitted.h"
#include "people/Marks.h"
#include "people/Names.h"
#include "people/PictureFile.h"
#include "portable/text/PangoText.h"
#include "portable/text/Utf16.h"

namespace gatehall::ctl {

namespace {

constexpr std::size_t kMostUsers = 400;
/// A list of so many rows still is one column.
constexpr std::size_t kShortList = 12;

// Lengths, in pixels.
constexpr double kMargin = 16;
constexpr double kCardRadius = 14;
constexpr double kColumnWidth = 408;
constexpr double kNarrowestColumn = 288;
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

const std::string kNameFont = "Cantarell, Sans, Bold 15.5";
const std::string kDetailsFont = "Cantarell, Sans, 12.5";
const std::string kInitialsFont = "Cantarell, Sans, Bold 17";

/// Cutting allows for what rounding may add, which nothing here does.
std::string cut(const std::string& text, const std::string& font, double width) {
  constexpr double slack = 3;
  return fitted(text, font, width + slack);
}

double widthOf(const std::string& text, const std::string& font) {
  return AttributedString(utf16(text), {{std::string(PangoText::kFontAttribute), font}}).width();
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

struct DrawnMark {
  std::string text;
  Colour colour;
  bool isCurfew = false;
};

std::vector<DrawnMark> drawnMarks(const ListedUser& user, const UsersPictureStyle& style,
                                  Date now) {
  std::vector<DrawnMark> drawn;
  for (const auto& mark : marksOf(user, now)) {
    const auto time = mark.moment ? timeText(*mark.moment, now, style.inLocalTime) : "";
    switch (mark.kind) {
      case Mark::Kind::InFront:
        drawn.push_back({"in front", kGreen});
        break;
      case Mark::Kind::LoggedIn:
        drawn.push_back({"logged in", kAmber});
        break;
      case Mark::Kind::Until:
        drawn.push_back({"until " + time, kIndigo, true});
        break;
      case Mark::Kind::From:
        drawn.push_back({"curfew until " + time, kRed, true});
        break;
      case Mark::Kind::NotNow:
        drawn.push_back({"curfew", kRed, true});
        break;
      case Mark::Kind::MayNotLogIn:  // what of no user alone is known
        break;
    }
  }
  return drawn;
}

/// Where text begins in a column.
constexpr double kTextX = kPadding + 2 * kFaceRadius + kGap;

/// Draws one user's row in a column.
class Row {
 public:
  Row(Canvas& canvas, const UsersPictureStyle& style, ListedUser user, double left, double width,
      double top)
      : mCanvas(canvas),
        mStyle(style),
        mUser(std::move(user)),
        mLeft(left),
        mWidth(width),
        mTop(top) {}

  void draw(Date now) {
    face();
    const auto name = cut(shownName(mUser), kNameFont, right() - textX());
    mCanvas.text(name, kNameFont, textX(), mTop + kNameBaseline, kNameColour);
    details(drawnMarks(mUser, mStyle, now));
  }

 private:
  double textX() const { return mLeft + kTextX; }
  double right() const { return mLeft + mWidth - kPadding; }

  void face() {
    const double x = mLeft + kPadding + kFaceRadius;
    const double y = mTop + kRowHeight / 2;
    const auto picture = this->picture();
    if (picture) {
      mCanvas.roundPicture(*picture, x, y, kFaceRadius);
    } else {
      mCanvas.circle(x, y, kFaceRadius, faceColour(mUser));
      auto letters = initials(shownName(mUser));
      // A character that no font has is drawn as a box with its number.
      if (widthOf(letters, kInitialsFont) > 1.7 * kFaceRadius) {
        letters = initials(mUser.shortName.value_or(""));
      }
      mCanvas.centredText(letters, kInitialsFont, x, y + 6, kCard);
    }
    badge(x + kFaceRadius * 0.72, y + kFaceRadius * 0.72);
  }

  std::optional<Picture> picture() const {
    const auto& path = mUser.picture;
    const auto file = path ? mStyle.locatePicture(*path) : std::nullopt;
    return file ? readPicture(*file) : std::nullopt;
  }

  void badge(double x, double y) {
    if (!mUser.current && !mUser.suspended) return;
    mCanvas.circle(x, y, 8, kCard);
    if (mUser.current) {
      mCanvas.circle(x, y, 5.5, 0x2FA866);
    } else {
      mCanvas.circle(x, y, 5.5, 0xE39A1F);
      mCanvas.rectangle(x - 2.2, y - 2.5, 1.5, 5, 0.5, kCard);
      mCanvas.rectangle(x + 0.7, y - 2.5, 1.5, 5, 0.5, kCard);
    }
  }

  /// The short name, and behind it the marks, as far as there is room: marks come first then.
  void details(const std::vector<DrawnMark>& marks) {
    constexpr double gap = 12;
    double room = right() - textX();
    for (const auto& mark : marks) room -= iconWidth(mark) + widthOf(mark.text, kDetailsFont) + gap;
    double x = textX();
    const auto baseline = mTop + kDetailsBaseline;
    const auto name = mUser.shortName.value_or("");
    if (!name.empty() && (marks.empty() || room > 30)) {
      const auto text = cut(name, kDetailsFont, room);
      mCanvas.text(text, kDetailsFont, x, baseline, kDetailsColour);
      x += widthOf(text, kDetailsFont) + gap;
    }
    for (const auto& mark : marks) {
      const double left = right() - x - iconWidth(mark);
      if (left < 30) return;
      icon(mark, x, baseline);
      x += iconWidth(mark);
      const auto text = cut(mark.text, kDetailsFont, left);
      mCanvas.text(text, kDetailsFont, x, baseline, mark.colour);
      x += widthOf(text, kDetailsFont) + gap;
    }
  }

  static double iconWidth(const DrawnMark& mark) { return mark.isCurfew ? 15 : 11; }

  void icon(const DrawnMark& mark, double x, double baseline) {
    if (mark.isCurfew) {
      mCanvas.crescent(x + 5.5, baseline - 4.5, 5.5, mark.colour);
    } else {
      mCanvas.circle(x + 3.5, baseline - 4.5, 3.5, mark.colour);
    }
  }

  Canvas& mCanvas;
  const UsersPictureStyle& mStyle;
  const ListedUser mUser;
  double mLeft;
  double mWidth;
  double mTop;
};

/// How rows flow: from the top down, then into the next column.
struct Columns {
  std::size_t count;
  std::size_t rows;  ///< of each but the last
  double width;      ///< of one

  double left(std::size_t column) const {
    return kMargin + static_cast<double>(column) * (width + kMargin);
  }
  double pictureWidth() const { return left(count); }
  double pictureHeight() const { return static_cast<double>(rows) * kRowHeight + 2 * kMargin; }
};

/// As few columns as make the picture no taller than wide, as far as a given width has room for
/// them.
Columns columnsFor(std::size_t rows, std::optional<int> width) {
  const auto widthOfOne = [&](std::size_t count) {
    return width ? (*width - kMargin) / static_cast<double>(count) - kMargin : kColumnWidth;
  };
  for (std::size_t count = 1;; ++count) {
    const Columns columns{count, (rows + count - 1) / count, widthOfOne(count)};
    if (columns.rows <= kShortList || columns.pictureHeight() <= columns.pictureWidth() ||
        widthOfOne(count + 1) < kNarrowestColumn) {
      return columns;
    }
  }
}

}  // namespace

UsersPicture usersPicture(const std::shared_ptr<CachedUserList>& users,
                          const UsersPictureStyle& style, Date now) {
  const std::size_t count = users ? users->count() : 0;
  const auto shown = std::min(count, kMostUsers);
  // Where there is something to say instead of or behind the users, it takes a row.
  const auto rows = shown + (count == shown && count > 0 ? 0 : 1);
  const auto columns = columnsFor(rows, style.width);

  Canvas canvas(style.format, columns.pictureWidth(), columns.pictureHeight(), style.scale);
  canvas.rectangle(0, 0, columns.pictureWidth(), columns.pictureHeight(), 0, kBackground);
  for (std::size_t first = 0; first < rows; first += columns.rows) {
    const double left = columns.left(first / columns.rows);
    const auto height = static_cast<double>(std::min(columns.rows, rows - first)) * kRowHeight;
    canvas.rectangle(left - 1, kMargin - 1, columns.width + 2, height + 2, kCardRadius + 1, kEdge);
    canvas.rectangle(left, kMargin, columns.width, height, kCardRadius, kCard);
  }
  const auto topOf = [&](std::size_t row) {
    return kMargin + static_cast<double>(row % columns.rows) * kRowHeight;
  };
  std::size_t row = 0;
  for (; row < shown; ++row) {
    const double left = columns.left(row / columns.rows);
    const double top = topOf(row);
    if (row % columns.rows > 0) {
      canvas.rectangle(left + kTextX, top - 0.5, columns.width - kTextX, 1, 0, kSeparator);
    }
    Row(canvas, style, listed(*users->objectAtIndex(row)), left, columns.width, top).draw(now);
  }
  if (rows > shown) {
    const auto text =
        count == 0 ? "Nobody is shown" : "and " + std::to_string(count - shown) + " more";
    canvas.centredText(text, kDetailsFont, columns.left(row / columns.rows) + columns.width / 2,
                       topOf(row) + kRowHeight / 2 + 4.5, kDetailsColour);
  }
  auto notes = notesOnScripts(canvas.withoutFont());
  return {canvas.finish(), std::move(notes)};
}

}  // namespace gatehall::ctl
