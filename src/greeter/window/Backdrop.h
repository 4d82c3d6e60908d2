#pragma once

#include <gdkmm/texture.h>
#include <gtkmm/widget.h>
#include <optional>
#include <string>

namespace gatehall::greeter {

/// What is behind everything on a monitor: a picture that covers it, a colour, or what the style
/// says.
class Backdrop final : public Gtk::Widget {
 public:
  explicit Backdrop(const std::string& colour);

  void setPicture(const Glib::RefPtr<Gdk::Texture>& picture);

 protected:
  void snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) override;

 private:
  std::optional<Gdk::RGBA> mColour;
  Glib::RefPtr<Gdk::Texture> mPicture;
};

}  // namespace gatehall::greeter
