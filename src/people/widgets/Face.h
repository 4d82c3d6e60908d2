#pragma once

#include <gtkmm.h>

#include "listing/ListedUser.h"

namespace gatehall {

/// Draws a user's picture, or the initials where there is none (yet), in the circle around x and y.
/// The lengths are the widget's. Whoever draws draws anew when Pictures has read some.
void drawFace(Gtk::Widget& widget, const Glib::RefPtr<Gtk::Snapshot>& snapshot,
              const ListedUser& user, double x, double y, double radius);

/// An outline of a person in a circle, for one whose name isn't known.
void drawNobody(Gtk::Widget& widget, const Glib::RefPtr<Gtk::Snapshot>& snapshot, double x,
                double y, double radius);

/// One line of text in the widget's language and fonts: bold or not, so many of the widget's
/// lengths high.
Glib::RefPtr<Pango::Layout> lineOf(Gtk::Widget& widget, const Glib::ustring& text, double size,
                                   bool isBold);

}  // namespace gatehall
