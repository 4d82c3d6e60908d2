#include "linux/files/TomlFile.h"

#include "linux/files/HostPath.h"
#include "linux/files/OwnedFile.h"
#include "portable/text/NearestName.h"

namespace gatehall {

namespace {

constexpr std::size_t kLargestFile = 1048576;

}  // namespace

TomlFile TomlFile::read(const HostOptions& options, std::string_view path, FaultLog& faults) {
  std::string fault;
  const auto content = readOwnedFile(hostPath(options, path, Symlinks::Refuse),
                                     {systemOwner(options)}, kLargestFile, fault);
  if (!content && fault.empty()) return {};
  if (!content) {
    return {State::Unusable, {}, faults.report(path, "ignored: " + fault)};
  }
  auto parsed = toml::parse(std::string_view(*content));
  if (!parsed) {
    const auto& error = parsed.error();
    return {
        State::Unusable, {}, faults.report(path, error.source().begin.line, error.description())};
  }
  return {State::Read, std::move(parsed).table(), {}};
}

std::string reportUnknownKey(FaultLog& faults, std::string_view path, const toml::key& key,
                             std::string_view table, std::span<const std::string_view> known) {
  auto name = std::string(table);
  if (!name.empty()) name += '.';
  name += key.str();
  const auto nearest = nearestName(key.str(), known);
  return faults.report(path, key.source().begin.line,
                       name + " is not a setting; did you mean " + std::string(nearest.name) + "?");
}

}  // namespace gatehall
