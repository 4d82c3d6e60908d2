#pragma once

#include <cstddef>
#include <string>

#include "ctl/print/Screen.h"
#include "ctl/print/Table.h"

namespace gatehall::ctl {

/// A table that stays at the bottom of a terminal while lines scroll away above it. It is shown as
/// long as it has room; one that is too large is left out.
class BottomTable {
 public:
  /// What to print for these lines to appear and the table to stand below them, in place of the one
  /// that was printed before.
  std::string repainted(const std::string& lines, const Table& table, TableStyle style,
                        ScreenSize size);

  /// Whether the table stands there now.
  bool isShown() const { return mRows != 0; }

 private:
  std::size_t mRows = 0;  ///< of the terminal, that the table takes now
};

}  // namespace gatehall::ctl
