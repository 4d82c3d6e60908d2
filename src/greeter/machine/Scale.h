#pragma once

namespace gatehall::greeter {

/// A monitor's size; in millimetres 0 where it isn't known.
struct MonitorSize {
  int widthPixels = 0;
  int heightPixels = 0;
  int widthMillimetres = 0;
  int heightMillimetres = 0;
};

/// How many pixels a length of 1 takes on the monitor, both ways, so that letters are of the size
/// that they have in print.
int scaleFor(const MonitorSize& size);

/// That of the primary monitor of the environment's X display, or of its first one; without a
/// display nothing is known of it.
MonitorSize primaryMonitor();

}  // namespace gatehall::greeter
