#pragma once

#include <gtkmm/scrolledwindow.h>

namespace gatehall::greeter {

/// As high as what is on it, and to be scrolled where there isn't that much room: a small screen
/// may not have it for all that the machine says.
class Page final : public Gtk::ScrolledWindow {
 public:
  /// The content lives longer.
  explicit Page(Gtk::Widget& content);

 protected:
  Gtk::SizeRequestMode get_request_mode_vfunc() const override;
  void measure_vfunc(Gtk::Orientation orientation, int forSize, int& minimum, int& natural,
                     int& minimumBaseline, int& naturalBaseline) const override;

 private:
  Gtk::Widget& mContent;
};

}  // namespace gatehall::greeter
