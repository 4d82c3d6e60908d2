#pragma once

#include <arpa/inet.h>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <netinet/in.h>
#include <spawn.h>
#include <string>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "bench/Processes.h"

namespace gatehall::bench {

inline constexpr const char* kSuffix = "dc=example,dc=org";

inline pid_t start(const Command& command) {
  std::vector<char*> words;
  for (const auto& word : command) words.push_back(const_cast<char*>(word.c_str()));
  words.push_back(nullptr);
  posix_spawn_file_actions_t quiet;
  posix_spawn_file_actions_init(&quiet);
  posix_spawn_file_actions_addopen(&quiet, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&quiet, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t child = 0;
  if (posix_spawnp(&child, words[0], &quiet, nullptr, words.data(), environ) != 0) {
    fail(command[0]);
  }
  posix_spawn_file_actions_destroy(&quiet);
  return child;
}

inline void run(const Command& command, int expected = 0) {
  int status = 0;
  waitpid(start(command), &status, 0);
  if (!WIFEXITED(status) || WEXITSTATUS(status) != expected) fail(command[0] + " failed");
}

template <class Work>
double secondsOf(Work work) {
  const auto begin = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

/// A socket on loopback: one that listens and accepts nothing, or a port that is free once the
/// object is gone.
class Listener {
 public:
  Listener() : mSocket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    if (bind(mSocket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
        listen(mSocket, 16) != 0 ||
        getsockname(mSocket, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
      fail("listen");
    }
    mPort = ntohs(address.sin_port);
  }
  ~Listener() { close(mSocket); }
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  int port() const { return mPort; }
  std::string uri() const { return "ldap://127.0.0.1:" + std::to_string(mPort); }

 private:
  int mSocket;
  int mPort = 0;
};

/// A slapd with what an LDIF file holds below the suffix, in a folder of the benchmark's.
class DirectoryServer {
 public:
  DirectoryServer(const std::filesystem::path& folder, const std::filesystem::path& ldif) {
    const auto database = folder / "database";
    std::filesystem::create_directories(database);
    std::ifstream nis("/etc/ldap/schema/nis.schema");
    std::ofstream(folder / "nis.schema") << withAuxiliaryGroups(nis);
    const auto settings = folder / "slapd.conf";
    std::ofstream(settings) << "include /etc/ldap/schema/core.schema\n"
                               "include /etc/ldap/schema/cosine.schema\n"
                               "include /etc/ldap/schema/inetorgperson.schema\ninclude "
                            << (folder / "nis.schema").string()
                            << "\nmodulepath /usr/lib/ldap\nmoduleload back_mdb\n"
                               "sizelimit unlimited\ndatabase mdb\nmaxsize 2147483648\nsuffix \""
                            << kSuffix << "\"\ndirectory " << database.string()
                            << "\nindex objectClass,uid,cn,uidNumber,gidNumber,memberUid,member,"
                               "entryUUID eq\n";
    run({"/usr/sbin/slapadd", "-q", "-f", settings, "-l", ldif});
    {
      const Listener listener;
      mURI = listener.uri();
    }
    mProcess = start({"/usr/sbin/slapd", "-f", settings, "-h", mURI, "-d", "0"});
    for (int attempt = 0; attempt < 500; ++attempt) {
      int status = 0;
      waitpid(start({"/usr/bin/ldapsearch", "-x", "-H", mURI, "-s", "base", "-b", ""}), &status, 0);
      if (status == 0) return;
    }
    fail("slapd");
  }
  ~DirectoryServer() {
    kill(mProcess, SIGTERM);
    waitpid(mProcess, nullptr, 0);
  }
  DirectoryServer(const DirectoryServer&) = delete;
  DirectoryServer& operator=(const DirectoryServer&) = delete;

  const std::string& uri() const { return mURI; }

 private:
  /// As RFC 2307bis has it: a group of names may have a group id besides.
  static std::string withAuxiliaryGroups(std::istream& schema) {
    std::string text((std::istreambuf_iterator<char>(schema)), {});
    const auto group = text.find("NAME 'posixGroup'");
    const auto kind = text.find("STRUCTURAL", group);
    text.replace(kind, 10, "AUXILIARY");
    const auto must = text.find("MUST ( cn $ gidNumber )", group);
    if (must != std::string::npos) text.replace(must, 23, "MUST gidNumber");
    return text;
  }

  std::string mURI;
  pid_t mProcess = 0;
};

}  // namespace gatehall::bench
