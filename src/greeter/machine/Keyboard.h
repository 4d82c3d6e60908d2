#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "greeter/machine/KeyboardLayouts.h"
#include "linux/loop/EventLoop.h"

namespace gatehall::greeter {

/// The keyboard of an X display, by the X keyboard extension, over a connection of its own. Without
/// a display there are no layouts. On the main thread, while its loop runs.
class Keyboard {
 public:
  /// "display": its name; nullptr: that of the environment. "locale": whose words the layouts'
  /// names are in. "changed" is called whenever something below is another.
  Keyboard(EventLoop& events, const char* display, const std::string& locale,
           std::function<void()> changed);
  ~Keyboard();
  Keyboard(const Keyboard&) = delete;
  Keyboard& operator=(const Keyboard&) = delete;

  /// Those that can be switched between, as the administrator set them up.
  const std::vector<KeyboardLayout>& layouts() const;
  /// The place of the one in use among them.
  std::size_t current() const;
  void use(std::size_t layout);

  bool hasCapsLock() const;  ///< is on

 private:
  struct State;

  std::unique_ptr<State> mState;
};

}  // namespace gatehall::greeter
