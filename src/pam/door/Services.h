#pragma once

#include <string_view>

/// The PAM services of a machine, pam.d(5), by what comes through them.
namespace gatehall::pam {

/// The services that open sessions for people, between commas: terminals, ssh, display managers,
/// their automatic logins among them, and xrdp. Whoever else asks PAM about an account is none of
/// the policy's business: what a session does later (sudo, su, cron, systemd-user), and the
/// sessions in which display managers show their login screens.
inline constexpr std::string_view kUsualServices =
    "login,remote,sshd,"
    "lightdm,lightdm-autologin,"
    "gdm-password,gdm-fingerprint,gdm-smartcard,gdm-autologin,"
    "sddm,sddm-autologin,"
    "greetd,lxdm,nodm,slim,wdm,xdm,"
    "xrdp-sesman";

/// Whether the list, names between commas, holds the name.
bool holdsService(std::string_view list, std::string_view name);

/// Whether who passes sits at the machine: a usual service that is used there, without a remote
/// host. A service that isn't known may be a network's.
bool isLocalDoor(std::string_view service, std::string_view remoteHost);

}  // namespace gatehall::pam
