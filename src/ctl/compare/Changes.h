#pragma once

#include "ctl/request/Overlay.h"
#include "ctl/request/Verb.h"

namespace gatehall::ctl {

/// What the options --with-managed and --with-group of a command line make of a machine.
struct Changes {
  Overlay overlay{};
  Strings remarks{};  ///< what is odd about the files, a sentence each
};

/// Raises UsageError for a file that can't be read or used, with its line, and for what names no
/// group.
Changes changesOf(const Request& request);

}  // namespace gatehall::ctl
