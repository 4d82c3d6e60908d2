#pragma once

#include <string>

#include "ctl/export/DirectorySection.h"
#include "ctl/print/Json.h"
#include "ctl/request/Host.h"
#include "gatehall/base/Value.h"

namespace gatehall::ctl {

/// A host as a world file has it.
struct Exported {
  Json world = Json::object();
  Strings unknown{};  ///< what the run could not know, one sentence each without a full stop
};

/// The world that answers as the host does at this moment. May raise PlatformException.
Exported exported(const Host& host, Extent extent);

/// The file: what is unknown as comments, then the world, what belongs together on one line where
/// it has room.
std::string worldText(const Exported& exported);

}  // namespace gatehall::ctl
