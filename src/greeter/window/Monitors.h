#pragma once

#include <gdkmm/monitor.h>
#include <gdkmm/texture.h>
#include <gtkmm/widget.h>
#include <memory>
#include <string>
#include <vector>

namespace gatehall::greeter {

/// A window for each monitor of the X display, of its size and at its place, as no window manager
/// is there to see to that: the screen on the primary one, the background on all. Monitors may come
/// and go.
class Monitors {
 public:
  /// The screen lives longer. The colour is that of the background; "": the style's.
  Monitors(Gtk::Widget& screen, std::string title, std::string colour);
  ~Monitors();
  Monitors(const Monitors&) = delete;
  Monitors& operator=(const Monitors&) = delete;

  void setPicture(const Glib::RefPtr<Gdk::Texture>& picture);

 private:
  class View;

  void arrange();
  void arrangeLater();

  Gtk::Widget& mScreen;
  const std::string mTitle;
  const std::string mColour;
  Glib::RefPtr<Gdk::Texture> mPicture;
  std::vector<std::unique_ptr<View>> mViews;
  sigc::connection mChanged;
  std::vector<sigc::connection> mMoved;
  sigc::connection mLater;
};

}  // namespace gatehall::greeter
