#pragma once

#include <filesystem>
#include <string>

namespace gatehall {

/// The whole file. Raises WorldError, naming it, when it can't be read or has more than 256 MiB.
std::string readTextFile(const std::filesystem::path& path);

}  // namespace gatehall
