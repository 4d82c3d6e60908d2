#include "people/widgets/Portrait.h"

#include <utility>

#include "people/widgets/Face.h"
#include "people/widgets/Pictures.h"

namespace gatehall {

Portrait::Portrait(int diameter) : mDiameter(diameter) {
  add_css_class("portrait");
  set_halign(Gtk::Align::CENTER);
  set_valign(Gtk::Align::CENTER);
  mRead = Pictures::ofProcess().signalRead().connect([this] { queue_draw(); });
}

Portrait::~Portrait() { mRead.disconnect(); }

void Portrait::setDiameter(int diameter) {
  if (std::exchange(mDiameter, diameter) != diameter) queue_resize();
}

void Portrait::show(std::shared_ptr<const ListedUser> user) {
  mUser = std::move(user);
  queue_draw();
}

void Portrait::measure_vfunc(Gtk::Orientation /*orientation*/, int /*forSize*/, int& minimum,
                             int& natural, int& minimumBaseline, int& naturalBaseline) const {
  minimum = natural = mDiameter;
  minimumBaseline = naturalBaseline = -1;
}

void Portrait::snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) {
  const double radius = mDiameter / 2.0;
  const double x = get_width() / 2.0;
  const double y = get_height() / 2.0;
  if (mUser) {
    drawFace(*this, snapshot, *mUser, x, y, radius);
  } else {
    drawNobody(*this, snapshot, x, y, radius);
  }
}

}  // namespace gatehall
