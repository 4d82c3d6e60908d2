#include "linux/files/DirectoryFile.h"

#include "linux/files/OwnedFile.h"

namespace gatehall {

namespace {

constexpr std::size_t kLargestFile = 1048576;

}  // namespace

DirectoryFile DirectoryFile::read(const HostOptions& options, FaultLog& faults) {
  std::string fault;
  const auto content =
      readOwnedFile(options.root + std::string(kPath), {systemOwner(options)}, kLargestFile, fault);
  if (!content && fault.empty()) return {};
  if (!content) {
    faults.report(kPath, "ignored: " + fault);
    return {State::Unusable, {}};
  }
  auto parsed = toml::parse(std::string_view(*content));
  if (!parsed) {
    faults.report(kPath, parsed.error().source().begin.line, parsed.error().description());
    return {State::Unusable, {}};
  }
  return {State::Read, std::move(parsed).table()};
}

void reportUnknownKey(FaultLog& faults, const toml::key& key, std::string_view table) {
  faults.report(DirectoryFile::kPath, key.source().begin.line,
                std::string(table) + "." + std::string(key.str()) + " is not a setting");
}

}  // namespace gatehall
