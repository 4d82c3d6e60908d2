#pragma once

#include <functional>
#include <string>
#include <vector>

#include "menu/Choice.h"

namespace gatehall::menu {

/// Runs gatehall-switch(1), at that path, as a child of this process, without a shell, and tells
/// from GLib's main loop what became of it.
void runSwitch(const std::string& program, const std::vector<std::string>& words,
               const std::function<void(const SwitchRun&)>& ended);

}  // namespace gatehall::menu
