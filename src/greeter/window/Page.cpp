#include "greeter/window/Page.h"

#include <algorithm>
#include <gtkmm.h>

namespace gatehall::greeter {

namespace {

constexpr int kLeastHeight = 120;

}  // namespace

Page::Page(Gtk::Widget& content) : mContent(content) {
  set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::AUTOMATIC);
  set_child(content);
}

Gtk::SizeRequestMode Page::get_request_mode_vfunc() const {
  return Gtk::SizeRequestMode::HEIGHT_FOR_WIDTH;
}

void Page::measure_vfunc(Gtk::Orientation orientation, int forSize, int& minimum, int& natural,
                         int& minimumBaseline, int& naturalBaseline) const {
  const bool isHeight = orientation == Gtk::Orientation::VERTICAL;
  mContent.measure(orientation, isHeight ? forSize : -1, minimum, natural, minimumBaseline,
                   naturalBaseline);
  minimumBaseline = naturalBaseline = -1;
  if (isHeight) {
    minimum = std::min(minimum, kLeastHeight);
  } else {
    natural = minimum;  // long texts wrap
  }
}

}  // namespace gatehall::greeter
