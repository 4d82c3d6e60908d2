#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/HostOptions.h"

namespace gatehall {

/// Reads a file that decides who may do what: a regular file of root's that no one else can write.
/// Under a root of its own the owner of the process will do as well. The path is absolute, and the
/// options' root is put in front of it. Empty with an empty fault: there is no such file. Empty
/// otherwise: the fault says why it can't be used.
std::optional<std::string> readSystemFile(const HostOptions& options, std::string_view path,
                                          std::size_t limit, std::string& fault);

}  // namespace gatehall
