#include "greeter/window/Monitors.h"

#include <algorithm>
#include <gdk/x11/gdkx.h>
#include <gtkmm.h>
#include <utility>

#include "greeter/window/Backdrop.h"
#include "greeter/window/KeptFocus.h"

namespace gatehall::greeter {

namespace {

using MonitorList = std::vector<Glib::RefPtr<Gdk::Monitor>>;

GdkDisplay* display() { return gdk_display_get_default(); }

MonitorList monitors() {
  MonitorList all;
  const auto list = Gdk::Display::get_default()->get_monitors();
  for (guint index = 0; index < list->get_n_items(); ++index) {
    const auto monitor = std::dynamic_pointer_cast<Gdk::Monitor>(list->get_object(index));
    if (monitor && monitor->is_valid()) all.push_back(monitor);
  }
  return all;
}

/// The one that is set up as such, else the first.
std::size_t primaryOf(const MonitorList& all) {
  auto* const primary = gdk_x11_display_get_primary_monitor(display());
  const auto found = std::find_if(all.begin(), all.end(), [primary](const auto& monitor) {
    return monitor->gobj() == primary;
  });
  return found == all.end() ? 0 : static_cast<std::size_t>(found - all.begin());
}

Gdk::Rectangle placeOf(const Gdk::Monitor& monitor) {
  Gdk::Rectangle place;
  monitor.get_geometry(place);
  return place;
}

}  // namespace

/// The window of one monitor.
class Monitors::View {
 public:
  View(Gtk::Widget* screen, const std::string& title, const std::string& colour,
       const Gdk::Rectangle& place)
      : mScreen(screen), mBackdrop(colour) {
    mWindow.set_title(title);
    mWindow.set_decorated(false);
    mWindow.set_resizable(false);
    mWindow.add_css_class("greeter");
    mOverlay.set_child(mBackdrop);
    if (mScreen != nullptr) mOverlay.add_overlay(*mScreen);
    mWindow.set_child(mOverlay);
    mOverlay.set_size_request(place.get_width(), place.get_height());
    mWindow.set_default_size(place.get_width(), place.get_height());
    gtk_widget_realize(GTK_WIDGET(mWindow.gobj()));
    auto* const surface = gtk_native_get_surface(GTK_NATIVE(mWindow.gobj()));
    const int scale = gdk_surface_get_scale_factor(surface);
    mPlace = place;
    XMoveResizeWindow(gdk_x11_display_get_xdisplay(display()), gdk_x11_surface_get_xid(surface),
                      place.get_x() * scale, place.get_y() * scale,
                      static_cast<unsigned>(place.get_width() * scale),
                      static_cast<unsigned>(place.get_height() * scale));
    mWindow.present();
  }
  ~View() {
    if (mScreen != nullptr) mOverlay.remove_overlay(*mScreen);
  }
  View(const View&) = delete;
  View& operator=(const View&) = delete;

  bool isFor(const Gtk::Widget* screen, const Gdk::Rectangle& place) const {
    return screen == mScreen && place == mPlace;
  }

  void setPicture(const Glib::RefPtr<Gdk::Texture>& picture) { mBackdrop.setPicture(picture); }

  void takeKeyboard() {
    if (mScreen == nullptr) return;
    auto* const surface = gtk_native_get_surface(GTK_NATIVE(mWindow.gobj()));
    gdk_x11_display_error_trap_push(display());
    XSetInputFocus(gdk_x11_display_get_xdisplay(display()), gdk_x11_surface_get_xid(surface),
                   RevertToPointerRoot, CurrentTime);
    gdk_x11_display_error_trap_pop_ignored(display());
  }

 private:
  Gtk::Widget* const mScreen;
  Gdk::Rectangle mPlace;
  Gtk::Window mWindow;
  Gtk::Overlay mOverlay;
  Backdrop mBackdrop;
};

Monitors::Monitors(Gtk::Widget& screen, std::string title, std::string colour)
    : mScreen(screen), mTitle(std::move(title)), mColour(std::move(colour)) {
  mChanged = Gdk::Display::get_default()->get_monitors()->signal_items_changed().connect(
      [this](guint, guint, guint) { arrangeLater(); });
  arrange();
}

Monitors::~Monitors() {
  mLater.disconnect();
  mChanged.disconnect();
  for (auto& moved : mMoved) moved.disconnect();
}

void Monitors::setPicture(const Glib::RefPtr<Gdk::Texture>& picture) {
  mPicture = picture;
  for (const auto& view : mViews) view->setPicture(picture);
}

void Monitors::arrange() {
  const auto all = monitors();
  if (all.empty()) return;  // the last windows stay, for when one comes back
  const auto primary = primaryOf(all);
  // The screen may get another window, which knows nothing of where the keyboard was.
  KeptFocus focus;
  focus.keep(mScreen);
  std::vector<std::unique_ptr<View>> views;
  std::vector<std::size_t> unmade;
  for (std::size_t index = 0; index < all.size(); ++index) {
    const auto place = placeOf(*all[index]);
    auto* const screen = index == primary ? &mScreen : nullptr;
    const auto old = std::find_if(mViews.begin(), mViews.end(), [&](const auto& view) {
      return view && view->isFor(screen, place);
    });
    if (old != mViews.end()) {
      views.push_back(std::move(*old));
    } else {
      unmade.push_back(index);
    }
  }
  mViews = std::move(views);
  for (const auto index : unmade) {
    mViews.push_back(std::make_unique<View>(index == primary ? &mScreen : nullptr, mTitle, mColour,
                                            placeOf(*all[index])));
    mViews.back()->setPicture(mPicture);
  }
  for (auto& moved : mMoved) moved.disconnect();
  mMoved.clear();
  for (const auto& monitor : all) {
    mMoved.push_back(
        monitor->property_geometry().signal_changed().connect([this] { arrangeLater(); }));
  }
  focus.giveBack();
  for (const auto& view : mViews) view->takeKeyboard();
}

void Monitors::arrangeLater() {
  mLater.disconnect();
  mLater = Glib::signal_idle().connect([this] {
    arrange();
    return false;
  });
}

}  // namespace gatehall::greeter
