#include "ctl/check/DirectoryFindings.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <future>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <utility>
#include <variant>
#include <vector>

#include "ctl/check/SilentLog.h"
#include "gatehall/base/PlatformException.h"
#include "linux/files/FaultLog.h"
#include "linux/files/FileDescriptor.h"
#include "linux/files/HostPath.h"
#include "linux/files/OwnedFile.h"
#include "linux/files/TomlFile.h"
#include "linux/ldap/client/Settings.h"
#include "linux/local/Settings.h"
#include "linux/nss/Services.h"
#include "linux/nss/Settings.h"
#include "linux/switch/SwitchSettings.h"

namespace gatehall::ctl {

namespace {

using Severity = Finding::Severity;
using Directory = ldap::Settings;
using Seconds = std::chrono::duration<double>;

const std::string kFile(kDirectoryFile);

/// Slower than this a login screen is seen to wait.
constexpr Seconds kSlow(0.5);

/// The directories that are set up so that they can be asked.
std::vector<Directory> usableDirectories(const HostOptions& options) {
  SilentLog log;
  FaultLog faults(log);
  std::vector<Directory> usable;
  for (auto& each : Directory::readAll(options, faults)) {
    if (auto* settings = std::get_if<Directory>(&each)) usable.push_back(std::move(*settings));
  }
  return usable;
}

/// The same of those behind the name service.
std::vector<nss::Settings> usableNameServices(const HostOptions& options) {
  SilentLog log;
  FaultLog faults(log);
  std::vector<nss::Settings> usable;
  for (auto& each : nss::Settings::readAll(options, faults)) {
    if (auto* settings = std::get_if<nss::Settings>(&each)) usable.push_back(std::move(*settings));
  }
  return usable;
}

/// The line of a directory's setting; of its table where it has none.
std::uint64_t lineOf(const HostOptions& options, std::string_view directory, std::string_view key) {
  SilentLog log;
  FaultLog faults(log);
  const auto file = TomlFile::read(options, kDirectoryFile, faults);
  const auto* list = file.table.get_as<toml::array>("directory");
  if (list == nullptr) return 0;
  for (const auto& element : *list) {
    const auto* table = element.as_table();
    const auto* name = table != nullptr ? table->get_as<std::string>("name") : nullptr;
    if (name == nullptr || name->get() != directory) continue;
    const auto* setting = table->get(key);
    return setting != nullptr ? setting->source().begin.line : table->source().begin.line;
  }
  return 0;
}

/// Whether what is sent to one of its servers goes over a network in the clear.
bool isInTheClear(const Directory& directory) {
  return directory.tls == Directory::Tls::Off &&
         std::ranges::any_of(directory.servers, [](const ldap::URI& server) {
           return server.scheme == ldap::URI::Scheme::Ldap;
         });
}

std::optional<Finding> findingOfTls(const HostOptions& options, const Directory& directory) {
  const auto line = lineOf(options, directory.name, "tls");
  const auto name = "the directory " + directory.name;
  if (isInTheClear(directory) && !directory.bindName.empty()) {
    return Finding{Severity::Error, kFile, line,
                   name + " is sent passwords in the clear, that of " +
                       printable(directory.bindName) + " among them: tls = \"off\"",
                   "Leave \"tls\" out, and name the server's certificate authority in \"ca-file\"; "
                   "then change the password."};
  }
  if (isInTheClear(directory)) {
    return Finding{
        Severity::Warning, kFile, line,
        name + " is sent its users' passwords in the clear: tls = \"off\"",
        "Leave \"tls\" out, and name the server's certificate authority in \"ca-file\"."};
  }
  if (directory.tls == Directory::Tls::Unverified) {
    return Finding{
        Severity::Warning, kFile, line,
        name + " may be anybody: tls = \"unverified\" takes any certificate",
        "Leave \"tls\" out, and name the server's certificate authority in \"ca-file\"."};
  }
  return std::nullopt;
}

std::string howToShareWithShadow(const std::string& file) {
  return "Run \"chmod 640 " + file + "\" and \"chgrp shadow " + file + "\"";
}

/// The group that may read every password here; absent: nobody but root may.
std::optional<gid_t> groupOfShadow(const HostOptions& options) {
  struct stat status {};
  if (stat(hostPath(options, "/etc/shadow").c_str(), &status) != 0) return std::nullopt;
  return status.st_gid;
}

/// A file of a directory's that nobody else may read.
struct Secret {
  std::string_view setting;
  std::string_view what;
  std::string file;
  std::string howToMake;
  std::string_view onceSeen;  ///< what to do when others may have read it
};

std::vector<Secret> secretsOf(const Directory& directory) {
  std::vector<Secret> secrets;
  if (!directory.bindPasswordFile.empty()) {
    secrets.push_back({"bind-password-file", "password", directory.bindPasswordFile,
                       "Write the password of " + printable(directory.bindName) +
                           " into its first line, mode 0640, group shadow.",
                       "; then change the password."});
  }
  if (!directory.keyFile.empty()) {
    secrets.push_back({"key", "key", directory.keyFile,
                       "Put the key of " + printable(directory.certificateFile) +
                           " there, mode 0640, group shadow.",
                       "; then have a new key certified."});
  }
  return secrets;
}

/// Of a file that no program reads, whatever its mode is.
std::optional<Finding> findingOfOthersFile(const HostOptions& options, const Directory& directory,
                                           std::string_view what, const std::string& file,
                                           const struct stat& status) {
  const auto report = [&](const std::string& fault, std::string toDo) {
    return Finding{Severity::Error, file, 0,
                   "the " + std::string(what) + " of the directory " + directory.name + " " +
                       fault + ": the directory isn't asked because of that",
                   std::move(toDo)};
  };
  if (S_ISLNK(status.st_mode)) {
    return report("is a symbolic link", "Name the file that it leads to, or put it there.");
  }
  if (!S_ISREG(status.st_mode)) return report("is no regular file", "Put a file there.");
  if (status.st_uid != systemOwner(options)) {
    return report("belongs to user " + std::to_string(status.st_uid),
                  "Run \"chown root " + file + "\".");
  }
  return std::nullopt;
}

/// Why the file is no secret.
std::optional<Finding> findingOfSecret(const HostOptions& options, const Directory& directory,
                                       const Secret& secret) {
  const auto& file = secret.file;
  const std::string what(secret.what);
  struct stat status {};
  const bool isThere = lstat(hostPath(options, file, Symlinks::Refuse).c_str(), &status) == 0;
  if (!isThere && errno != ENOENT) return std::nullopt;
  if (!isThere) {
    return Finding{Severity::Error, kFile, lineOf(options, directory.name, secret.setting),
                   "the " + what + " file " + file + " isn't there", secret.howToMake};
  }
  if (auto found = findingOfOthersFile(options, directory, secret.what, file, status)) return found;
  const bool isOthers = (status.st_mode & (S_IRWXO | S_IWGRP)) != 0;
  const bool isGroups = (status.st_mode & S_IRWXG) != 0 && groupOfShadow(options) != status.st_gid;
  if (!isOthers && !isGroups) return std::nullopt;
  return Finding{Severity::Error, file, 0,
                 "others than its owner can read or write the " + what + " of the directory " +
                     directory.name + ", which isn't asked because of that",
                 howToShareWithShadow(file) + std::string(secret.onceSeen)};
}

/// What programs can't read by its mode, of a file and the folders on the way to it, which have no
/// other right than everybody and the group, if there is one. Empty: nothing.
std::string closedPlace(const HostOptions& options, const std::filesystem::path& file,
                        std::optional<gid_t> group) {
  const auto isClosed = [&](const std::filesystem::path& path, mode_t groups, mode_t others) {
    struct stat status {};
    if (stat(hostPath(options, path.string()).c_str(), &status) != 0) return false;
    return (status.st_mode & (status.st_gid == group ? groups : others)) == 0;
  };
  if (isClosed(file, S_IRGRP, S_IROTH)) return file.string();
  for (auto folder = file.parent_path(); folder != folder.root_path();
       folder = folder.parent_path()) {
    if (isClosed(folder, S_IXGRP, S_IXOTH)) return folder.string();
  }
  return {};
}

/// Of a secret that programs in the group of /etc/shadow can't read: root alone has it then.
std::optional<Finding> findingOfUnreadableSecret(const HostOptions& options,
                                                 const Directory& directory, const Secret& secret) {
  const auto group = groupOfShadow(options);
  if (!group) return std::nullopt;
  const auto place = closedPlace(options, secret.file, group);
  if (place.empty()) return std::nullopt;
  return Finding{Severity::Warning, place, 0,
                 "only root can read the " + std::string(secret.what) + " of the directory " +
                     directory.name + ": gatehalld and gatehall-switch can't ask it",
                 place == secret.file ? howToShareWithShadow(place) + "."
                                      : "Let the group shadow enter the folder, or move the file."};
}

/// Of a certificate that gatehalld can't read, which is in the group of /etc/shadow, or that
/// gatehall-switch can't, which isn't.
std::optional<Finding> findingOfUnreadableCertificate(const HostOptions& options,
                                                      const Directory& directory) {
  const auto& file = directory.certificateFile;
  const auto ofService = closedPlace(options, file, groupOfShadow(options));
  const auto ofSwitch = closedPlace(options, file, std::nullopt);
  if (ofService.empty() && ofSwitch.empty()) return std::nullopt;
  std::string who = ofService.empty() ? "gatehall-switch" : "gatehalld";
  if (!ofService.empty() && !ofSwitch.empty()) who += " and gatehall-switch";
  const auto& place = ofSwitch.empty() ? ofService : ofSwitch;
  return Finding{Severity::Warning, place, 0,
                 "not everybody can read the certificate of the directory " + directory.name +
                     ": " + who + " can't ask it",
                 place == file
                     ? "Run \"chmod 644 " + file + "\"; its key is what nobody else is to read."
                     : "Let everybody enter the folder, or move the file."};
}

/// Why the certificate that servers are shown isn't used, or not by every program.
std::optional<Finding> findingOfCertificate(const HostOptions& options,
                                            const Directory& directory) {
  const auto& file = directory.certificateFile;
  if (file.empty()) return std::nullopt;
  struct stat status {};
  const bool isThere = lstat(hostPath(options, file, Symlinks::Refuse).c_str(), &status) == 0;
  if (!isThere && errno != ENOENT) return std::nullopt;
  if (!isThere) {
    return Finding{Severity::Error, kFile, lineOf(options, directory.name, "certificate"),
                   "the certificate file " + file + " isn't there",
                   "Put this machine's certificate there, mode 0644."};
  }
  if (auto found = findingOfOthersFile(options, directory, "certificate", file, status)) {
    return found;
  }
  if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
    return Finding{Severity::Error, file, 0,
                   "others than its owner can write the certificate of the directory " +
                       directory.name + ", which isn't asked because of that",
                   "Run \"chmod 644 " + file + "\"."};
  }
  return findingOfUnreadableCertificate(options, directory);
}

/// What is wrong with the files by which the directory's account binds.
std::vector<Finding> findingsOfCredentials(const HostOptions& options, const Directory& directory) {
  std::vector<Finding> findings;
  for (const auto& secret : secretsOf(directory)) {
    auto found = findingOfSecret(options, directory, secret);
    if (!found) found = findingOfUnreadableSecret(options, directory, secret);
    if (found) findings.push_back(std::move(*found));
  }
  if (auto found = findingOfCertificate(options, directory)) findings.push_back(std::move(*found));
  return findings;
}

/// Of a switch without a service that a directory could stand for.
std::optional<Finding> findingOfSwitch(const HostOptions& options) {
  const auto directories = usableNameServices(options);
  if (directories.empty()) return std::nullopt;
  struct stat status {};
  int error = 0;
  const auto file =
      openRegularFile(hostPath(options, nss::kSwitchFile), Symlinks::Follow, status, error);
  const auto text = error == 0 ? readWhole(file, 65536, error) : std::nullopt;
  if (!text || !nss::networkServices(*text).empty()) return std::nullopt;
  return Finding{
      Severity::Warning, nss::kSwitchFile, 0,
      "the directory " + directories.front().name +
          " has nobody: no service but this machine's files is named for passwd or group",
      "Install the service's module and name it there, as in \"passwd: files sss\"."};
}

Finding findingOfNameServiceAway(const HostOptions& options, const nss::Settings& settings,
                                 const std::string& fault) {
  return {Severity::Error, kFile, lineOf(options, settings.name, "kind"),
          "the directory " + settings.name + " is away: " + fault,
          "Start the service, or take it out of nsswitch.conf: until it answers, it can't be told "
          "who its users are, nor what lists say that name somebody else than this machine's own."};
}

std::string secondsText(Seconds time) {
  auto text = std::to_string(std::chrono::round<std::chrono::milliseconds>(time).count());
  return text + " ms";
}

struct Attempt {
  std::string name;
  std::string fault{};
  Seconds roundTrip{};
  bool isIgnored = false;
};

Attempt attemptAt(NetworkNode& node) {
  Attempt attempt{.name = node.nodeName().value_or(""), .isIgnored = node.isIgnoredWhenAway()};
  try {
    attempt.roundTrip = node.reach().roundTrip;
  } catch (const PlatformException& failure) {
    std::string_view fault = failure.what();
    const auto beginning = attempt.name + ": can't be asked: ";
    if (fault.starts_with(beginning)) fault.remove_prefix(beginning.size());
    attempt.fault = fault;
  }
  return attempt;
}

std::vector<Attempt> attempts(const std::vector<std::shared_ptr<NetworkNode>>& nodes) {
  std::vector<std::future<Attempt>> pending;
  pending.reserve(nodes.size());
  for (const auto& node : nodes) {
    pending.push_back(std::async(std::launch::async, [node] { return attemptAt(*node); }));
  }
  std::vector<Attempt> made;
  made.reserve(pending.size());
  for (auto& each : pending) made.push_back(each.get());
  return made;
}

}  // namespace

std::vector<Finding> findingsOfSettingsFiles(const HostOptions& options) {
  SilentLog log;
  std::vector<FileFault> reported;
  FaultLog faults(log, &reported);
  Directory::readAll(options, faults);
  nss::Settings::readAll(options, faults);
  local::Settings::read(options, faults);
  const auto ofDirectories = reported.size();
  SwitchSettings::read(options, faults);
  std::vector<Finding> findings;
  for (std::size_t index = 0; index < reported.size(); ++index) {
    auto& fault = reported[index];
    if (index < ofDirectories) {
      findings.push_back({Severity::Error, fault.file, fault.line, std::move(fault.text),
                          "Correct it as gatehall-directory.toml(5) says: until then it can't be "
                          "told who is there, or who is an administrator."});
    } else {
      findings.push_back({Severity::Warning, fault.file, fault.line, std::move(fault.text),
                          "Correct it as gatehall-switch(1) says: until then only sessions that "
                          "are seen to be locked are left."});
    }
  }
  for (const auto& directory : usableDirectories(options)) {
    if (auto found = findingOfTls(options, directory)) findings.push_back(std::move(*found));
    std::ranges::move(findingsOfCredentials(options, directory), std::back_inserter(findings));
  }
  return findings;
}

std::vector<Finding> findingsOfDirectories(const HostOptions& options,
                                           const std::vector<std::shared_ptr<NetworkNode>>& nodes) {
  std::vector<Finding> findings;
  const auto directories = usableDirectories(options);
  const auto nameServices = usableNameServices(options);
  if (auto found = findingOfSwitch(options)) findings.push_back(std::move(*found));
  for (const auto& attempt : attempts(nodes)) {
    const auto service = std::ranges::find_if(nameServices, [&](const nss::Settings& each) {
      return "nss/" + each.name == attempt.name;
    });
    // Of a machine that doesn't run, there is no service to ask.
    if (service != nameServices.end() && !attempt.fault.empty() && options.isRunning) {
      findings.push_back(findingOfNameServiceAway(options, *service, attempt.fault));
    }
    const auto settings = std::ranges::find_if(directories, [&](const Directory& directory) {
      return "ldap/" + directory.name == attempt.name;
    });
    // What is set up wrongly is told of by its line.
    const auto isError = [](const Finding& finding) { return finding.severity == Severity::Error; };
    if (settings == directories.end() ||
        std::ranges::any_of(findingsOfCredentials(options, *settings), isError)) {
      continue;
    }
    const auto line = lineOf(options, settings->name, "servers");
    if (!attempt.fault.empty()) {
      findings.push_back(
          {attempt.isIgnored ? Severity::Warning : Severity::Error, kFile, line,
           "the directory " + settings->name + " is away: " + attempt.fault,
           attempt.isIgnored
               ? "Start the server, or correct \"servers\": until it answers, its users and groups "
                 "count as absent (when-away = \"ignore\")."
               : "Start the server, or correct \"servers\": until it answers, it can't be told "
                 "who its users are, nor what lists say that name somebody else than this "
                 "machine's own."});
    } else if (attempt.roundTrip >= kSlow) {
      findings.push_back({Severity::Warning, kFile, line,
                          "the directory " + settings->name +
                              " is slow: an answer that holds "
                              "nothing takes " +
                              secondsText(attempt.roundTrip) + ", of the " +
                              secondsText(settings->timeLimit) + " that time-limit allows",
                          "Name a nearer server first in \"servers\", or allow more time."});
    }
  }
  return findings;
}

}  // namespace gatehall::ctl
