#pragma once

#include <cstdint>
#include <set>

#include "ctl/export/Gathered.h"
#include "ctl/export/Reached.h"
#include "ctl/request/Host.h"
#include "gatehall/platform/Platform.h"

namespace gatehall::ctl {

/// How much of the network's directories is written down: all of it, or what lists reach.
enum class Extent { Reached, All };

/// A world file's section "directory", and what others are made of.
struct DirectorySection {
  Json json = Json::object();
  std::set<std::uint32_t> userIDs{};  ///< of the accounts in it
  Strings accessGroups{};             ///< GUIDs of the groups "gatehall-access"
  std::string missing{};              ///< why such a group may exist that can't be seen
};

/// The machine's own nodes as a whole, the network's as far as the seeds and the extent reach.
DirectorySection directorySection(const Host& host, Platform& machine, Seeds seeds, Extent extent,
                                  Gathered& gathered);

}  // namespace gatehall::ctl
