#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string_view>

namespace gatehall::ctl {

struct ScreenSize {
  std::size_t rows = 0;
  std::size_t columns = 0;
};

/// Where a run prints while it goes on, and what is known about the place.
struct Screen {
  /// Prints at once; false when that is not possible.
  std::function<bool(std::string_view)> write;

  /// How large the terminal is at the moment; absent where output is no terminal.
  std::function<std::optional<ScreenSize>()> size;

  bool colour = false;  ///< the terminal's colours are wanted

  /// Shows a line in place of the one before, an empty one to end with; empty where errors don't go
  /// to a terminal.
  std::function<void(std::string_view)> progress{};
};

}  // namespace gatehall::ctl
