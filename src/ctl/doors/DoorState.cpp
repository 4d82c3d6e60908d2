#include "ctl/doors/DoorState.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "gatehall/base/PlatformException.h"
#include "linux/files/HostPath.h"
#include "pam/door/Services.h"

namespace gatehall::ctl {

namespace {

using pam::Guard;

bool isGuardModule(const pam::Entry& entry) {
  return entry.kind == pam::Entry::Kind::Module && entry.module == kGuardModule;
}

bool isThere(const HostOptions& options, const std::string& path) {
  return access(hostPath(options, path).c_str(), F_OK) == 0;
}

/// Whether libpam finds the module: by its path, or in a folder of the system's own.
bool isInstalled(const HostOptions& options, const std::string& modulePath) {
  if (modulePath.starts_with('/')) return isThere(options, modulePath);
  const std::string inFolder = "/security/" + modulePath;
  for (const std::string folder : {"/lib", "/usr/lib", "/lib64", "/usr/lib64"}) {
    if (isThere(options, folder + inFolder)) return true;
  }
  for (const std::string folder : {"/lib", "/usr/lib"}) {
    std::error_code problem;
    for (std::filesystem::directory_iterator each(hostPath(options, folder), problem), end;
         !problem && each != end; each.increment(problem)) {
      const auto name = each->path().filename().string();
      if (isThere(options, std::string(folder).append("/").append(name).append(inFolder))) {
        return true;
      }
    }
  }
  return false;
}

bool isFor(const GuardLine& line, std::string_view service) {
  return pam::guards(argumentsOf(line), service);
}

Strings namesBetweenCommas(std::string_view list) {
  Strings names;
  while (!list.empty()) {
    const auto comma = std::min(list.find(','), list.size());
    names.emplace_back(list.substr(0, comma));
    list.remove_prefix(std::min(comma + 1, list.size()));
  }
  return names;
}

/// What the lines of any service's stack name themselves, with the line that does.
std::map<std::string, pam::Place> namedServices(const std::vector<DoorState>& doors) {
  std::map<std::string, pam::Place> names;
  for (const auto& door : doors) {
    for (const auto* lines : {&door.guards, &door.idle}) {
      for (const auto& line : *lines) {
        const auto arguments = argumentsOf(line);
        if (arguments.services == pam::kUsualServices) continue;
        for (auto& name : namesBetweenCommas(arguments.services)) names.emplace(name, line.place);
      }
    }
  }
  return names;
}

}  // namespace

pam::Arguments argumentsOf(const GuardLine& line) {
  const std::vector<std::string_view> words(line.words.begin(), line.words.end());
  return pam::readArguments(words);
}

DoorState doorState(const HostOptions& options, const std::string& service) {
  DoorState door{.service = service};
  try {
    door.stack = pam::readAccountStack(options, service);
    for (const auto& entry : door.stack.entries) {
      if (!isGuardModule(entry)) continue;
      if (!isInstalled(options, entry.modulePath)) {
        throw PlatformException(textOf(entry.place) + ": there is no module " + entry.modulePath +
                                ", without which nobody gets in");
      }
      GuardLine line{entry.place, entry.arguments};
      (isFor(line, service) ? door.guards : door.idle).push_back(std::move(line));
    }
    door.passage = passageThrough(door.stack, [&service](const pam::Entry& entry) {
      return isGuardModule(entry) && isFor({entry.place, entry.arguments}, service);
    });
  } catch (const PlatformException& failure) {
    door.unreadable = failure.what();
  }
  return door;
}

DoorState guardedDoor(const std::string& service) {
  DoorState door{.service = service};
  GuardLine line;
  const bool isGuarded = isFor(line, service);
  door.passage.guard = isGuarded ? Guard::Guarded : Guard::NotGuarded;
  (isGuarded ? door.guards : door.idle).push_back(std::move(line));
  return door;
}

std::vector<DoorState> doorsOfMachine(const HostOptions& options) {
  const auto files = pam::servicesWithFile(options);
  std::vector<DoorState> all;
  for (const auto& service : files) all.push_back(doorState(options, service));
  const auto named = namedServices(all);
  std::erase_if(all, [&](const DoorState& door) {
    return !pam::holdsService(pam::kUsualServices, door.service) && !named.contains(door.service);
  });
  for (const auto& [service, place] : named) {
    if (std::ranges::find(files, service) == files.end()) {
      all.push_back(doorState(options, service));
    }
  }
  std::ranges::sort(all, {}, &DoorState::service);
  return all;
}

std::vector<std::pair<std::string, pam::Place>> servicesWithoutFile(
    const HostOptions& options, const std::vector<DoorState>& doors) {
  const auto files = pam::servicesWithFile(options);
  std::vector<std::pair<std::string, pam::Place>> missing;
  for (const auto& [service, place] : namedServices(doors)) {
    if (std::ranges::find(files, service) == files.end()) missing.emplace_back(service, place);
  }
  return missing;
}

std::string_view guardInWords(const DoorState& door) {
  if (!door.unreadable.empty()) return "can't be told";
  switch (door.passage.guard) {
    case Guard::Guarded:
      return "yes";
    case Guard::Partly:
      return "not for everybody";
    case Guard::Shut:
      return "shut";
    case Guard::NotGuarded:
      break;
  }
  return "no";
}

}  // namespace gatehall::ctl
