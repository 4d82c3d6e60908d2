#include "people/widgets/PersonRow.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "gatehall/platform/Platform.h"
#include "people/Fitted.h"
#include "people/Names.h"
#include "people/widgets/Face.h"
#include "people/widgets/Palette.h"

namespace gatehall {

namespace {

// Lengths, as many of a name's size of 15.5.
constexpr double kNameSize = 15.5;
constexpr double kDetailsSize = 12.5;
constexpr double kPadding = 16;
constexpr double kRowHeight = 72;
constexpr double kFaceRadius = 23;
constexpr double kGap = 14;
constexpr double kNameBaseline = 31;
constexpr double kDetailsBaseline = 52;
constexpr double kTextX = kPadding + 2 * kFaceRadius + kGap;
constexpr double kNarrowest = 200;
constexpr double kWidest = 408;
constexpr double kBetween = 12;  ///< what stands on a line

std::string colourOf(Mark::Kind kind) {
  switch (kind) {
    case Mark::Kind::InFront:
      return "gh_green";
    case Mark::Kind::LoggedIn:
      return "gh_amber";
    case Mark::Kind::Until:
      return "gh_indigo";
    case Mark::Kind::From:
    case Mark::Kind::NotNow:
    case Mark::Kind::MayNotLogIn:
      break;
  }
  return "gh_red";
}

bool isHours(Mark::Kind kind) {
  return kind == Mark::Kind::Until || kind == Mark::Kind::From || kind == Mark::Kind::NotNow;
}

double iconWidth(Mark::Kind kind) {
  return isHours(kind) || kind == Mark::Kind::MayNotLogIn ? 15 : 11;
}

double fontSize(const Gtk::Widget& widget) {
  // The context is the widget's own, which asking for it makes.
  const auto font = const_cast<Gtk::Widget&>(widget).get_pango_context()->get_font_description();
  const double size = static_cast<double>(font.get_size()) / PANGO_SCALE;
  constexpr double kPixelsOfAPoint = 96.0 / 72;
  return std::max(1.0, font.get_size_is_absolute() ? size : size * kPixelsOfAPoint);
}

/// Draws a row from left to right, or the other way round.
class Drawing {
 public:
  Drawing(Gtk::Widget& widget, const Glib::RefPtr<Gtk::Snapshot>& snapshot, double unit)
      : mWidget(widget),
        mSnapshot(snapshot),
        mUnit(unit),
        mIsMirrored(widget.get_direction() == Gtk::TextDirection::RTL) {}

  double width() const { return mWidget.get_width() / mUnit; }

  /// A line of text that begins at x, no wider than that: cut by the layer's own rule.
  double text(const std::string& text, double size, bool isBold, double x, double baseline,
              double room, const Gdk::RGBA& colour) {
    auto line = lineOf(mWidget, text, size * mUnit, isBold);
    if (widthOf(line) > room) {
      line->set_text(cut(text, line->get_font_description(), room));
      // Hinting may make it wider than it was measured.
      if (widthOf(line) > room) {
        line->set_ellipsize(Pango::EllipsizeMode::MIDDLE);
        line->set_width(static_cast<int>(room * mUnit * PANGO_SCALE));
      }
    }
    const double width = widthOf(line);
    const double left = mIsMirrored ? this->width() - x - width : x;
    mSnapshot->save();
    graphene_point_t corner;
    graphene_point_init(
        &corner, static_cast<float>(std::round(left * mUnit)),
        static_cast<float>(std::round(baseline * mUnit) -
                           static_cast<double>(line->get_baseline()) / PANGO_SCALE));
    gtk_snapshot_translate(mSnapshot->gobj(), &corner);
    gtk_snapshot_append_layout(mSnapshot->gobj(), line->gobj(), colour.gobj());
    mSnapshot->restore();
    return width;
  }

  double widthOf(const std::string& text, double size) const {
    return widthOf(lineOf(mWidget, text, size * mUnit, false));
  }

  void face(const ListedUser& user, double x, double y, double radius) {
    drawFace(mWidget, mSnapshot, user, mirrored(x) * mUnit, y * mUnit, radius * mUnit);
  }

  /// Cairo, whose lengths are the row's, around that place.
  Cairo::RefPtr<Cairo::Context> around(double x, double y, double radius, const Gdk::RGBA& colour) {
    const double middle = mirrored(x) * mUnit;
    const int reach = static_cast<int>(std::ceil(radius * mUnit)) + 2;
    auto cairo = mSnapshot->append_cairo(Gdk::Rectangle(static_cast<int>(middle) - reach,
                                                        static_cast<int>(y * mUnit) - reach,
                                                        2 * reach + 1, 2 * reach + 1));
    cairo->translate(middle, y * mUnit);
    cairo->scale(mUnit, mUnit);
    cairo->set_source_rgba(colour.get_red(), colour.get_green(), colour.get_blue(),
                           colour.get_alpha());
    return cairo;
  }

  void line(double x, const Gdk::RGBA& colour) {
    graphene_rect_t place;
    const double width = this->width() - x;
    graphene_rect_init(&place, static_cast<float>((mIsMirrored ? 0 : x) * mUnit), 0,
                       static_cast<float>(width * mUnit), 1);
    gtk_snapshot_append_color(mSnapshot->gobj(), colour.gobj(), &place);
  }

 private:
  double mirrored(double x) const { return mIsMirrored ? width() - x : x; }

  double widthOf(const Glib::RefPtr<Pango::Layout>& line) const {
    return static_cast<double>(line->get_logical_extents().get_width()) / PANGO_SCALE / mUnit;
  }

  std::string cut(const std::string& text, Pango::FontDescription font, double room) const {
    // The text system has 72 units to the inch, so that a pixel here is a point there.
    const double pixels = static_cast<double>(font.get_size()) / PANGO_SCALE;
    font.set_size(static_cast<int>(std::lround(pixels * PANGO_SCALE)));
    return fitted(text, font.to_string().raw(), room * mUnit);
  }

  Gtk::Widget& mWidget;
  const Glib::RefPtr<Gtk::Snapshot>& mSnapshot;
  const double mUnit;
  const bool mIsMirrored;
};

void drawBadge(Drawing& drawing, Gtk::Widget& widget, const ListedUser& user, double x, double y) {
  if (!user.current && !user.suspended) return;
  const auto cairo = drawing.around(x, y, 8, paletteColour(widget, "gh_card"));
  const auto use = [&](const char* name) {
    const auto colour = paletteColour(widget, name);
    cairo->set_source_rgba(colour.get_red(), colour.get_green(), colour.get_blue(),
                           colour.get_alpha());
  };
  cairo->arc(0, 0, 8, 0, 2 * std::numbers::pi);
  cairo->fill();
  use(user.current ? "gh_badge_front" : "gh_badge_in");
  cairo->arc(0, 0, 5.5, 0, 2 * std::numbers::pi);
  cairo->fill();
  if (user.current) return;
  use("gh_on_badge");
  cairo->rectangle(-2.2, -2.5, 1.5, 5);
  cairo->rectangle(0.7, -2.5, 1.5, 5);
  cairo->fill();
}

/// Its middle is at x + 5.5, or x + 3.5 of a small one.
void drawIcon(Drawing& drawing, Mark::Kind kind, double x, double y, const Gdk::RGBA& colour) {
  constexpr double kFull = 2 * std::numbers::pi;
  constexpr double kRadius = 5.5;
  if (kind == Mark::Kind::MayNotLogIn) {
    const auto cairo = drawing.around(x + kRadius, y, kRadius, colour);
    cairo->set_line_width(1.6);
    cairo->arc(0, 0, kRadius - 0.8, 0, kFull);
    cairo->move_to(-3.2, -3.2);
    cairo->line_to(3.2, 3.2);
    cairo->stroke();
  } else if (isHours(kind)) {
    // The waning moon, from horn to horn around the outside, and back around the shadow's edge.
    constexpr double kHorn = kFull / 6;
    constexpr double kTilt = -kFull / 12;
    const auto cairo = drawing.around(x + kRadius, y, kRadius, colour);
    cairo->begin_new_sub_path();
    cairo->arc(0, 0, kRadius, kTilt + kHorn, kTilt - kHorn + kFull);
    cairo->arc_negative(kRadius * 0.433, -kRadius * 0.25, kRadius * 0.866, kTilt - kFull / 4,
                        kTilt + kFull / 4);
    cairo->close_path();
    cairo->fill();
  } else {
    const auto cairo = drawing.around(x + 3.5, y, 3.5, colour);
    cairo->arc(0, 0, 3.5, 0, kFull);
    cairo->fill();
  }
}

}  // namespace

PersonRow::PersonRow(const Words& words) : mWords(words) { add_css_class("person"); }

void PersonRow::show(const Person& person) {
  mPerson = person;
  mSaid = said();
  queue_draw();
}

void PersonRow::setLine(bool hasLine) {
  if (std::exchange(mHasLine, hasLine) != hasLine) queue_draw();
}

bool PersonRow::isOutOfDate() const { return said() != mSaid; }

std::string PersonRow::said() const {
  if (!mPerson) return {};
  std::string said = shownName(*mPerson->user);
  const auto add = [&](const std::string& text) {
    if (!text.empty()) said.append(", ").append(text);
  };
  const auto name = inOneLine(mPerson->user->shortName.value_or(""));
  if (name != said) add(name);
  const auto now = platform().clock().now();
  for (const auto& mark : marksOf(*mPerson, now)) add(markText(mark, now, mWords));
  add(mPerson->admission.sentence);
  return said;
}

void PersonRow::measure_vfunc(Gtk::Orientation orientation, int /*forSize*/, int& minimum,
                              int& natural, int& minimumBaseline, int& naturalBaseline) const {
  const double unit = fontSize(*this) / kNameSize;
  const auto length = [&](double units) { return static_cast<int>(std::lround(units * unit)); };
  const bool isWidth = orientation == Gtk::Orientation::HORIZONTAL;
  minimum = length(isWidth ? kNarrowest : kRowHeight);
  natural = length(isWidth ? kWidest : kRowHeight);
  minimumBaseline = naturalBaseline = -1;
}

void PersonRow::snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) {
  if (!mPerson) return;
  const auto& user = *mPerson->user;
  Drawing drawing(*this, snapshot, fontSize(*this) / kNameSize);
  const double right = drawing.width() - kPadding;
  if (mHasLine) drawing.line(kTextX, paletteColour(*this, "gh_separator"));

  const bool isRefused = mPerson->admission.state == Admission::State::MayNotLogIn ||
                         !user.kinwatchAllowsLogin.value_or(true);
  constexpr double kMiddle = kRowHeight / 2;
  constexpr double kFaceX = kPadding + kFaceRadius;
  if (isRefused) gtk_snapshot_push_opacity(snapshot->gobj(), 0.55);
  drawing.face(user, kFaceX, kMiddle, kFaceRadius);
  drawBadge(drawing, *this, user, kFaceX + kFaceRadius * 0.72, kMiddle + kFaceRadius * 0.72);
  if (isRefused) gtk_snapshot_pop(snapshot->gobj());

  const auto now = platform().clock().now();
  const auto marks = marksOf(*mPerson, now);
  const auto shortName = inOneLine(user.shortName.value_or(""));
  const auto name = shownName(user);
  const bool hasDetails = !marks.empty() || (!shortName.empty() && shortName != name);
  constexpr double kAloneBaseline = 41;
  const auto details = paletteColour(*this, "gh_details");
  drawing.text(name, kNameSize, true, kTextX, hasDetails ? kNameBaseline : kAloneBaseline,
               right - kTextX, isRefused ? details : paletteColour(*this, "gh_name"));

  // The short name, and behind it the marks, as far as there is room: marks come first then.
  double room = right - kTextX;
  std::vector<std::string> texts;
  for (const auto& mark : marks) {
    texts.push_back(markText(mark, now, mWords));
    room -= iconWidth(mark.kind) + drawing.widthOf(texts.back(), kDetailsSize) + kBetween;
  }
  double x = kTextX;
  if (!shortName.empty() && shortName != name && (marks.empty() || room > 30)) {
    x +=
        drawing.text(shortName, kDetailsSize, false, x, kDetailsBaseline, room, details) + kBetween;
  }
  for (std::size_t index = 0; index < marks.size(); ++index) {
    const auto kind = marks[index].kind;
    const double left = right - x - iconWidth(kind);
    if (left < 30) return;
    const auto colour = paletteColour(*this, colourOf(kind));
    drawIcon(drawing, kind, x, kDetailsBaseline - 4.5, colour);
    x += iconWidth(kind);
    x += drawing.text(texts[index], kDetailsSize, false, x, kDetailsBaseline, left, colour) +
         kBetween;
  }
}

}  // namespace gatehall
