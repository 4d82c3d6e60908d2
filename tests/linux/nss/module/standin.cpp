#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <grp.h>
#include <new>
#include <nss.h>
#include <pwd.h>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

/// A name service of a test's own: the files passwd, group and groups (a user's name, and the id of
/// a group that counts the user in, in each line) of the folder that STAND_IN names. It enumerates
/// only where there is a file "enumerates", adds a line to "asked" for each question, has no answer
/// where there is a file "away", and none for ever where there is one "mute". Where there is one
/// "forgetful" it has no users any more once it was asked for one's groups. The users of a file
/// "memory" it has at hand as SSSD's module has some: whatever the rest may be.

namespace {

std::filesystem::path folder() { return std::getenv("STAND_IN"); }

bool hasFile(const char* name) { return std::filesystem::exists(folder() / name); }

std::vector<std::string> fieldsOf(const std::string& line, char separator) {
  std::vector<std::string> fields(1);
  for (const char each : line) {
    if (each == separator) {
      fields.emplace_back();
    } else {
      fields.back() += each;
    }
  }
  return fields;
}

using Lines = std::vector<std::vector<std::string>>;

Lines linesOf(const char* name) {
  std::ifstream file(folder() / name);
  Lines lines;
  for (std::string line; std::getline(file, line);) lines.push_back(fieldsOf(line, ':'));
  return lines;
}

nss_status begin(const std::string& question, int* error) {
  std::ofstream(folder() / "asked", std::ios::app) << question << '\n';
  while (hasFile("mute")) pause();
  if (!hasFile("away")) return NSS_STATUS_SUCCESS;
  *error = ECONNREFUSED;
  return NSS_STATUS_UNAVAIL;
}

/// Room that the asker gives for texts.
class Room {
 public:
  Room(char* bytes, std::size_t size) : mBytes(bytes), mLeft(size) {}

  char* keep(const std::string& text) {
    return static_cast<char*>(std::memcpy(take(text.size() + 1), text.c_str(), text.size() + 1));
  }
  char** pointers(std::size_t count) {
    while (reinterpret_cast<std::uintptr_t>(mBytes) % alignof(char*) != 0) take(1);
    return reinterpret_cast<char**>(take(count * sizeof(char*)));
  }

 private:
  char* take(std::size_t size) {
    if (size > mLeft) throw std::bad_alloc();
    mLeft -= size;
    return std::exchange(mBytes, mBytes + size);
  }

  char* mBytes;
  std::size_t mLeft;
};

template <class Entry, class Fill>
nss_status answer(Fill fill, Entry* entry, char* bytes, std::size_t size, int* error) {
  try {
    Room room(bytes, size);
    fill(*entry, room);
    return NSS_STATUS_SUCCESS;
  } catch (const std::bad_alloc&) {
    *error = ERANGE;
    return NSS_STATUS_TRYAGAIN;
  }
}

nss_status notFound(int* error) {
  *error = ENOENT;
  return NSS_STATUS_NOTFOUND;
}

nss_status user(const std::vector<std::string>& line, passwd* entry, char* bytes, std::size_t size,
                int* error) {
  return answer(
      [&](passwd& filled, Room& room) {
        filled.pw_name = room.keep(line.at(0));
        filled.pw_passwd = room.keep(line.at(1));
        filled.pw_uid = static_cast<uid_t>(std::stoul(line.at(2)));
        filled.pw_gid = static_cast<gid_t>(std::stoul(line.at(3)));
        filled.pw_gecos = room.keep(line.at(4));
        filled.pw_dir = room.keep(line.at(5));
        filled.pw_shell = room.keep(line.at(6));
      },
      entry, bytes, size, error);
}

nss_status groupOf(const std::vector<std::string>& line, group* entry, char* bytes,
                   std::size_t size, int* error) {
  return answer(
      [&](group& filled, Room& room) {
        filled.gr_name = room.keep(line.at(0));
        filled.gr_passwd = room.keep(line.at(1));
        filled.gr_gid = static_cast<gid_t>(std::stoul(line.at(2)));
        const auto members = fieldsOf(line.at(3), ',');
        filled.gr_mem = room.pointers(members.size() + 1);
        for (std::size_t index = 0; index < members.size(); ++index) {
          filled.gr_mem[index] = room.keep(members[index]);
        }
        filled.gr_mem[members.size()] = nullptr;
      },
      entry, bytes, size, error);
}

/// As sssd.conf(5) has it, unless the environment says that the daemon is to be asked.
bool usesMemory() {
  const auto* use = std::getenv("SSS_NSS_USE_MEMCACHE");
  return use == nullptr || std::string(use) != "NO";
}

bool hasForgotten = false;
std::size_t nextUser = 0;
std::size_t nextGroup = 0;

}  // namespace

extern "C" {

nss_status _nss_standin_getpwnam_r(const char* name, passwd* entry, char* bytes, std::size_t size,
                                   int* error) {
  for (const auto& line : usesMemory() ? linesOf("memory") : Lines()) {
    if (line.at(0) == name) return user(line, entry, bytes, size, error);
  }
  if (const auto status = begin(std::string("user ") + name, error); status != NSS_STATUS_SUCCESS) {
    return status;
  }
  if (hasForgotten) return notFound(error);
  for (const auto& line : linesOf("passwd")) {
    if (line.at(0) == name) return user(line, entry, bytes, size, error);
  }
  return notFound(error);
}

nss_status _nss_standin_getpwuid_r(uid_t id, passwd* entry, char* bytes, std::size_t size,
                                   int* error) {
  if (const auto status = begin("user " + std::to_string(id), error);
      status != NSS_STATUS_SUCCESS) {
    return status;
  }
  for (const auto& line : linesOf("passwd")) {
    if (line.at(2) == std::to_string(id)) return user(line, entry, bytes, size, error);
  }
  return notFound(error);
}

nss_status _nss_standin_setpwent() {
  nextUser = 0;
  return NSS_STATUS_SUCCESS;
}
nss_status _nss_standin_endpwent() { return NSS_STATUS_SUCCESS; }
nss_status _nss_standin_getpwent_r(passwd* entry, char* bytes, std::size_t size, int* error) {
  if (const auto status = begin("users", error); status != NSS_STATUS_SUCCESS) return status;
  const auto lines = linesOf("passwd");
  if (!hasFile("enumerates") || nextUser >= lines.size()) return notFound(error);
  const auto status = user(lines.at(nextUser), entry, bytes, size, error);
  if (status == NSS_STATUS_SUCCESS) ++nextUser;
  return status;
}

nss_status _nss_standin_getgrnam_r(const char* name, group* entry, char* bytes, std::size_t size,
                                   int* error) {
  if (const auto status = begin(std::string("group ") + name, error);
      status != NSS_STATUS_SUCCESS) {
    return status;
  }
  for (const auto& line : linesOf("group")) {
    if (line.at(0) == name) return groupOf(line, entry, bytes, size, error);
  }
  return notFound(error);
}

nss_status _nss_standin_getgrgid_r(gid_t id, group* entry, char* bytes, std::size_t size,
                                   int* error) {
  if (const auto status = begin("group " + std::to_string(id), error);
      status != NSS_STATUS_SUCCESS) {
    return status;
  }
  for (const auto& line : linesOf("group")) {
    if (line.at(2) == std::to_string(id)) return groupOf(line, entry, bytes, size, error);
  }
  return notFound(error);
}

nss_status _nss_standin_setgrent() {
  nextGroup = 0;
  return NSS_STATUS_SUCCESS;
}
nss_status _nss_standin_endgrent() { return NSS_STATUS_SUCCESS; }
nss_status _nss_standin_getgrent_r(group* entry, char* bytes, std::size_t size, int* error) {
  if (const auto status = begin("groups", error); status != NSS_STATUS_SUCCESS) return status;
  const auto lines = linesOf("group");
  if (!hasFile("enumerates") || nextGroup >= lines.size()) return notFound(error);
  const auto status = groupOf(lines.at(nextGroup), entry, bytes, size, error);
  if (status == NSS_STATUS_SUCCESS) ++nextGroup;
  return status;
}

/// In place of nss_wrapper's own, which only knows of groups that are enumerated.
int getgrouplist(const char* name, gid_t primary, gid_t* groups, int* count) {
  int error = 0;
  std::vector<gid_t> found{primary};
  hasForgotten = hasFile("forgetful");
  if (begin(std::string("groups of ") + name, &error) == NSS_STATUS_SUCCESS && !hasForgotten) {
    for (const auto& line : linesOf("groups")) {
      if (line.at(0) == name) found.push_back(static_cast<gid_t>(std::stoul(line.at(1))));
    }
  }
  const bool fits = static_cast<int>(found.size()) <= *count;
  if (fits) std::copy(found.begin(), found.end(), groups);
  *count = static_cast<int>(found.size());
  return fits ? *count : -1;
}
}
