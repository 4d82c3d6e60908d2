#include "pam/door/Services.h"

namespace gatehall::pam {

namespace {

constexpr std::string_view kRemoteServices = "remote,sshd,xrdp-sesman";

}  // namespace

bool holdsService(std::string_view list, std::string_view name) {
  while (!list.empty()) {
    const auto comma = list.find(',');
    const std::string_view first(list.data(),
                                 comma == std::string_view::npos ? list.size() : comma);
    if (first == name) return true;
    if (comma == std::string_view::npos) break;
    list.remove_prefix(comma + 1);
  }
  return false;
}

bool isLocalDoor(std::string_view service, std::string_view remoteHost) {
  return remoteHost.empty() && holdsService(kUsualServices, service) &&
         !holdsService(kRemoteServices, service);
}

}  // namespace gatehall::pam
