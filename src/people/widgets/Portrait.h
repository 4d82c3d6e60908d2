#pragma once

#include <gtkmm.h>
#include <memory>

#include "listing/ListedUser.h"

namespace gatehall {

/// A user's picture, or the initials, in a circle. What the file of the picture holds is read
/// beside GTK's thread; initials stand in its place until then.
class Portrait : public Gtk::Widget {
 public:
  /// The diameter in points of the screen, which the scale of the monitor multiplies.
  explicit Portrait(int diameter);
  ~Portrait() override;
  Portrait(const Portrait&) = delete;
  Portrait& operator=(const Portrait&) = delete;

  void setDiameter(int diameter);

  /// Nobody: an outline of a person, as for "another user".
  void show(std::shared_ptr<const ListedUser> user);

 protected:
  void measure_vfunc(Gtk::Orientation orientation, int forSize, int& minimum, int& natural,
                     int& minimumBaseline, int& naturalBaseline) const override;
  void snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) override;

 private:
  int mDiameter;
  std::shared_ptr<const ListedUser> mUser;
  sigc::connection mRead;
};

}  // namespace gatehall
