#include "greeter/Toolkit.h"

#include <cstdlib>
#include <filesystem>
#include <gtkmm.h>
#include <gtkmm/init.h>
#include <string>

#include "gatehall/base/PlatformException.h"
#include "greeter/machine/Scale.h"

namespace gatehall::greeter {

namespace {

/// Sets what isn't set.
void prefer(const char* variable, const std::string& value) { setenv(variable, value.c_str(), 0); }

bool hasSessionBus() {
  if (std::getenv("DBUS_SESSION_BUS_ADDRESS") != nullptr) return true;
  const char* const folder = std::getenv("XDG_RUNTIME_DIR");
  std::error_code failure;
  return folder != nullptr && std::filesystem::exists(std::string(folder) + "/bus", failure);
}

}  // namespace

void setEnvironment(int scale) {
  if (std::getenv("GSK_RENDERER") == nullptr) {
    // No driver is needed for it, and none is looked for: that would more than double the memory.
    prefer("GSK_RENDERER", "cairo");
    prefer("GDK_DEBUG", "gl-disable");
  }
  prefer("GSETTINGS_BACKEND", "memory");  // nothing is kept
  prefer("GIO_USE_VFS", "local");         // files are the machine's own
  // Without a bus, GTK would try to start one for screen readers, and wait.
  if (!hasSessionBus()) prefer("GTK_A11Y", "none");
  const char* const set = std::getenv("GDK_SCALE");
  if (set == nullptr || scale != 0) {
    setenv("GDK_SCALE", std::to_string(scale != 0 ? scale : scaleFor(primaryMonitor())).c_str(), 1);
  }
}

void beginFonts() { pango_cairo_font_map_get_default(); }

Toolkit::Toolkit(bool isRightToLeft) {
  gdk_set_allowed_backends("x11");
  if (gtk_init_check() == 0) throw PlatformException("there is no X display");
  Gtk::init_gtkmm_internals();
  Gtk::Widget::set_default_direction(isRightToLeft ? Gtk::TextDirection::RTL
                                                   : Gtk::TextDirection::LTR);
}

}  // namespace gatehall::greeter
