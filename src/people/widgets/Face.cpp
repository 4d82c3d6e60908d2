#include "people/widgets/Face.h"

#include <cmath>
#include <numbers>
#include <string>

#include "people/Names.h"
#include "people/widgets/Palette.h"
#include "people/widgets/Pictures.h"

namespace gatehall {

namespace {

Gdk::Rectangle around(double x, double y, double radius) {
  const int left = static_cast<int>(std::floor(x - radius)) - 1;
  const int top = static_cast<int>(std::floor(y - radius)) - 1;
  const int side = static_cast<int>(std::ceil(2 * radius)) + 3;
  return {left, top, side, side};
}

void circle(const Glib::RefPtr<Gtk::Snapshot>& snapshot, double x, double y, double radius,
            const Gdk::RGBA& colour) {
  const auto cairo = snapshot->append_cairo(around(x, y, radius));
  cairo->set_source_rgba(colour.get_red(), colour.get_green(), colour.get_blue(),
                         colour.get_alpha());
  cairo->arc(x, y, radius, 0, 2 * std::numbers::pi);
  cairo->fill();
}

Gdk::RGBA rgba(std::uint32_t colour) {
  constexpr float kFull = 255;
  return {static_cast<float>(colour >> 16U & 0xFFU) / kFull,
          static_cast<float>(colour >> 8U & 0xFFU) / kFull,
          static_cast<float>(colour & 0xFFU) / kFull};
}

}  // namespace

Glib::RefPtr<Pango::Layout> lineOf(Gtk::Widget& widget, const Glib::ustring& text, double size,
                                   bool isBold) {
  const auto layout = widget.create_pango_layout(text);
  auto font = layout->get_context()->get_font_description();
  font.set_absolute_size(size * PANGO_SCALE);
  font.set_weight(isBold ? Pango::Weight::BOLD : Pango::Weight::NORMAL);
  layout->set_font_description(font);
  layout->set_single_paragraph_mode(true);
  return layout;
}

void drawFace(Gtk::Widget& widget, const Glib::RefPtr<Gtk::Snapshot>& snapshot,
              const ListedUser& user, double x, double y, double radius) {
  const auto pixels = static_cast<int>(std::lround(2 * radius * widget.get_scale_factor()));
  const auto texture = user.picture ? Pictures::ofProcess().get(*user.picture, pixels)
                                    : Glib::RefPtr<Gdk::Texture>();
  if (texture) {
    const auto side = static_cast<float>(2 * radius);
    graphene_rect_t place;
    graphene_rect_init(&place, static_cast<float>(x - radius), static_cast<float>(y - radius), side,
                       side);
    gtk_snapshot_append_texture(snapshot->gobj(), texture->gobj(), &place);
    return;
  }
  circle(snapshot, x, y, radius, rgba(faceColour(user)));
  const double size = radius * 17 / 23;
  auto line = lineOf(widget, initials(shownName(user)), size, true);
  int width = 0;
  int height = 0;
  line->get_pixel_size(width, height);
  // A character that no font has is drawn as a box with its number.
  if (width > 1.7 * radius) {
    line = lineOf(widget, initials(user.shortName.value_or("")), size, true);
    line->get_pixel_size(width, height);
  }
  snapshot->save();
  graphene_point_t corner;
  graphene_point_init(&corner, static_cast<float>(x - width / 2.0),
                      static_cast<float>(y - height / 2.0));
  gtk_snapshot_translate(snapshot->gobj(), &corner);
  const GdkRGBA white{1, 1, 1, 1};
  gtk_snapshot_append_layout(snapshot->gobj(), line->gobj(), &white);
  snapshot->restore();
}

void drawNobody(Gtk::Widget& widget, const Glib::RefPtr<Gtk::Snapshot>& snapshot, double x,
                double y, double radius) {
  circle(snapshot, x, y, radius, paletteColour(widget, "gh_separator"));
  const auto colour = paletteColour(widget, "gh_details");
  const auto cairo = snapshot->append_cairo(around(x, y, radius));
  cairo->arc(x, y, radius, 0, 2 * std::numbers::pi);
  cairo->clip();
  cairo->set_source_rgba(colour.get_red(), colour.get_green(), colour.get_blue(),
                         colour.get_alpha());
  cairo->arc(x, y - radius * 0.22, radius * 0.34, 0, 2 * std::numbers::pi);
  cairo->fill();
  cairo->arc(x, y + radius * 0.86, radius * 0.62, 0, 2 * std::numbers::pi);
  cairo->fill();
}

}  // namespace gatehall
