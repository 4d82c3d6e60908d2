#include "greeter/machine/Scale.h"

#include <X11/Xlib.h>
#include <X11/extensions/Xrandr.h>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>

namespace gatehall::greeter {

namespace {

constexpr double kInch = 25.4;
constexpr double kDots = 96;  ///< an inch, at a scale of 1
constexpr int kLargestScale = 4;
/// So many lines a screen needs, in lengths at its scale.
constexpr int kLeastHeight = 700;
/// From this height on a monitor of unknown size is taken for a fine one.
constexpr int kFineHeight = 2160;

/// An X server that doesn't know the size says what it would be at 96 dots an inch; a monitor may
/// tell its aspect instead, 16 by 9 or 160 by 90.
bool isKnown(const MonitorSize& size) {
  if (size.widthMillimetres < 100 || size.heightMillimetres < 100) return false;
  const double assumed = size.widthPixels * kInch / kDots;
  return std::abs(size.widthMillimetres - assumed) > assumed / 100;
}

}  // namespace

int scaleFor(const MonitorSize& size) {
  if (!isKnown(size)) return size.heightPixels >= kFineHeight ? 2 : 1;
  const double dots = size.widthPixels * kInch / size.widthMillimetres;
  const int wanted = static_cast<int>(std::lround(dots / kDots));
  return std::clamp(wanted, 1, std::clamp(size.heightPixels / kLeastHeight, 1, kLargestScale));
}

MonitorSize primaryMonitor() {
  const std::unique_ptr<Display, decltype(&XCloseDisplay)> display(XOpenDisplay(nullptr),
                                                                   XCloseDisplay);
  if (!display) return {};
  int count = 0;
  const std::unique_ptr<XRRMonitorInfo, decltype(&XRRFreeMonitors)> monitors(
      XRRGetMonitors(display.get(), DefaultRootWindow(display.get()), True, &count),
      XRRFreeMonitors);
  if (!monitors || count < 1) return {};
  const auto* const end = monitors.get() + count;
  const auto* found = std::find_if(static_cast<const XRRMonitorInfo*>(monitors.get()), end,
                                   [](const auto& monitor) { return monitor.primary != 0; });
  if (found == end) found = monitors.get();
  return {found->width, found->height, found->mwidth, found->mheight};
}

}  // namespace gatehall::greeter
