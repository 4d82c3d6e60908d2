#include "greeter/window/Symbol.h"

#include <algorithm>
#include <cmath>
#include <gtkmm.h>
#include <numbers>

#include "greeter/window/Accessible.h"
#include "people/look/Look.h"

namespace gatehall::greeter {

namespace {

constexpr double kTurn = 2 * std::numbers::pi;

// Each in a square of 16 by 16, with lines of that width.
constexpr double kSide = 16;
constexpr double kLine = 1.6;

using Pen = Cairo::Context;

void circle(Pen& pen, double x, double y, double radius) {
  pen.begin_new_sub_path();
  pen.arc(x, y, radius, 0, kTurn);
}

void line(Pen& pen, double fromX, double fromY, double toX, double toY) {
  pen.move_to(fromX, fromY);
  pen.line_to(toX, toY);
}

void power(Pen& pen) {
  pen.begin_new_sub_path();
  pen.arc(8, 8.7, 5.6, -0.17 * kTurn, 0.67 * kTurn);
  line(pen, 8, 1.6, 8, 8);
  pen.stroke();
}

/// A person with outspread arms, in a circle.
void access(Pen& pen) {
  circle(pen, 8, 8, 6.9);
  line(pen, 4.6, 6.6, 11.4, 6.6);
  line(pen, 8, 6.6, 8, 9.2);
  line(pen, 8, 9.2, 6, 12);
  line(pen, 8, 9.2, 10, 12);
  pen.stroke();
  circle(pen, 8, 4.3, 1.2);
  pen.fill();
}

/// A globe.
void language(Pen& pen) {
  circle(pen, 8, 8, 6.7);
  line(pen, 1.3, 8, 14.7, 8);
  pen.save();
  pen.translate(8, 8);
  pen.scale(0.45, 1);
  pen.begin_new_sub_path();
  pen.arc(0, 0, 6.7, 0, kTurn);
  pen.restore();
  pen.stroke();
}

void keyboard(Pen& pen) {
  pen.rectangle(1, 3.5, 14, 9);
  line(pen, 5, 10, 11, 10);
  pen.stroke();
  for (const double y : {5.6, 7.5}) {
    for (const double x : {3.2, 5.5, 7.8, 10.1, 12.2}) pen.rectangle(x - 0.5, y - 0.5, 1.2, 1.2);
  }
  pen.fill();
}

void session(Pen& pen) {
  pen.rectangle(1.2, 2.2, 13.6, 9);
  line(pen, 8, 11.2, 8, 13.8);
  line(pen, 4.6, 13.8, 11.4, 13.8);
  pen.stroke();
}

void person(Pen& pen) {
  circle(pen, 8, 5.2, 3.1);
  pen.fill();
  pen.begin_new_sub_path();
  pen.arc(8, 14.6, 5.6, kTurn / 2, 0);
  pen.close_path();
  pen.fill();
}

void check(Pen& pen) {
  pen.move_to(2.5, 8.5);
  pen.line_to(6.3, 12.2);
  pen.line_to(13.5, 4);
  pen.stroke();
}

void warning(Pen& pen) {
  pen.move_to(8, 1.8);
  pen.line_to(15, 14);
  pen.line_to(1, 14);
  pen.close_path();
  line(pen, 8, 6.2, 8, 9.6);
  pen.stroke();
  circle(pen, 8, 11.8, 0.9);
  pen.fill();
}

void down(Pen& pen) {
  pen.move_to(3.5, 6);
  pen.line_to(8, 10.5);
  pen.line_to(12.5, 6);
  pen.stroke();
}

}  // namespace

Symbol::Symbol(Shape shape, int size) : mShape(shape), mSize(size) {
  set_valign(Gtk::Align::CENTER);
  set_halign(Gtk::Align::CENTER);
  setRole(*this, Gtk::Accessible::Role::PRESENTATION);
  set_draw_func(sigc::mem_fun(*this, &Symbol::draw));
  Gtk::Settings::get_default()->property_gtk_xft_dpi().signal_changed().connect(
      sigc::mem_fun(*this, &Symbol::queue_resize));
}

void Symbol::measure_vfunc(Gtk::Orientation /*orientation*/, int /*forSize*/, int& minimum,
                           int& natural, int& minimumBaseline, int& naturalBaseline) const {
  minimum = natural = static_cast<int>(std::lround(mSize * Look::textScale()));
  minimumBaseline = naturalBaseline = -1;
}

void Symbol::draw(const Cairo::RefPtr<Cairo::Context>& context, int width, int height) {
  auto& pen = *context;
  const auto colour = get_style_context()->get_color();
  pen.set_source_rgba(colour.get_red(), colour.get_green(), colour.get_blue(), colour.get_alpha());
  const double scale = std::min(width, height) / kSide;
  pen.translate((width - scale * kSide) / 2, (height - scale * kSide) / 2);
  pen.scale(scale, scale);
  pen.set_line_width(kLine);
  pen.set_line_cap(Cairo::Context::LineCap::ROUND);
  pen.set_line_join(Cairo::Context::LineJoin::ROUND);
  switch (mShape) {
    case Shape::Power:
      return power(pen);
    case Shape::Access:
      return access(pen);
    case Shape::Language:
      return language(pen);
    case Shape::Keyboard:
      return keyboard(pen);
    case Shape::Session:
      return session(pen);
    case Shape::Person:
      return person(pen);
    case Shape::Check:
      return check(pen);
    case Shape::Warning:
      return warning(pen);
    case Shape::Down:
      return down(pen);
  }
}

}  // namespace gatehall::greeter
