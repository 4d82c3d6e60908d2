#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace gatehall {

/// A method of an object on the bus, or a property.
struct BusMethod {
  std::string service;
  std::string path;
  std::string interface;
  std::string member;
};

/// What a method is given, in order: texts, unsigned numbers of 32 or 64 bits, and truths.
using BusArguments = std::vector<std::variant<std::string, std::uint32_t, std::uint64_t, bool>>;

}  // namespace gatehall
