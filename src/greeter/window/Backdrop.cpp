#include "greeter/window/Backdrop.h"

#include <algorithm>
#include <gtkmm.h>

#include "greeter/window/Accessible.h"

namespace gatehall::greeter {

Backdrop::Backdrop(const std::string& colour) {
  add_css_class("backdrop");
  set_overflow(Gtk::Overflow::HIDDEN);
  if (!colour.empty()) mColour = Gdk::RGBA(colour);
}

void Backdrop::setPicture(const Glib::RefPtr<Gdk::Texture>& picture) {
  mPicture = picture;
  queue_draw();
}

void Backdrop::snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) {
  const auto width = static_cast<float>(get_width());
  const auto height = static_cast<float>(get_height());
  if (mColour) snapshot->append_color(*mColour, {0, 0, get_width(), get_height()});
  if (!mPicture) return;
  const auto pictureWidth = static_cast<float>(mPicture->get_width());
  const auto pictureHeight = static_cast<float>(mPicture->get_height());
  const auto scale = std::max(width / pictureWidth, height / pictureHeight);
  const auto drawnWidth = scale * pictureWidth;
  const auto drawnHeight = scale * pictureHeight;
  const graphene_rect_t place = {{(width - drawnWidth) / 2, (height - drawnHeight) / 2},
                                 {drawnWidth, drawnHeight}};
  snapshot->append_texture(mPicture, &place);
}

}  // namespace gatehall::greeter
