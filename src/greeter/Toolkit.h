#pragma once

namespace gatehall::greeter {

/// Sets the environment up for GTK on a screen without a desktop around it; a scale of 0 is that of
/// the primary monitor. Only before another thread runs, which might be reading it (setenv(3)).
void setEnvironment(int scale);

/// Begins to list the fonts, on a thread of its own. Nothing else takes as long when a screen comes
/// up.
void beginFonts();

/// GTK, on the environment's X display. One a process.
class Toolkit {
 public:
  /// Raises PlatformException without a display.
  explicit Toolkit(bool isRightToLeft);
};

}  // namespace gatehall::greeter
