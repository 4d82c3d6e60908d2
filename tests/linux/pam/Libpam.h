#pragma once

#include <array>
#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sched.h>
#include <security/pam_appl.h>
#include <stdexcept>
#include <string>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "gatehall/base/Value.h"
#include "tests/linux/Machine.h"

namespace gatehall {

/// What libpam made of a service for all answers of its modules.
struct Seen {
  bool isAnyAdmitted = false;
  bool isPassedBy = false;     ///< somebody was admitted whom the guard wasn't asked about
  bool isRefusalLost = false;  ///< somebody was admitted whom the guard refused
};

/// libpam itself, with a machine's folders in the place of /etc/pam.d and /usr/lib/pam.d. The
/// modules in them are pam_answering.so, with names of its own for an argument, and
/// pam_gatehall.so, called "guard".
class Libpam {
 public:
  /// Whether this process may have folders in other places.
  static bool isThere() {
    const auto child = fork();
    if (child == 0) _exit(enterNamespace() ? 0 : 1);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
  }

  /// Asks in a process of its own. What libpam doesn't survive admits nobody.
  static Seen ask(const Machine& machine, const std::string& service, const Strings& names) {
    const auto child = fork();
    if (child == 0) {
      signal(SIGSEGV, SIG_DFL);  // of which a sanitizer would make an exit
      _exit(answers(machine, service, names));
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    if (!WIFEXITED(status)) return {};
    const auto bits = static_cast<unsigned>(WEXITSTATUS(status));
    EXPECT_LT(bits, 8U) << "no folders in other places";
    return {(bits & 1U) != 0, (bits & 2U) != 0, (bits & 4U) != 0};
  }

  /// What the module of that name is given behind it, each word between angle brackets; empty when
  /// it isn't asked.
  static std::string wordsFor(const Machine& machine, const std::string& service,
                              const std::string& name) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) throw std::runtime_error("pipe");
    const auto child = fork();
    if (child == 0) {
      auto* handle = start(machine, service);
      if (handle == nullptr) _exit(kFailed);
      pam_acct_mgmt(handle, 0);
      const char* words = pam_getenv(handle, (name + "_WORDS").c_str());
      const std::string text(words != nullptr ? words : "");
      _exit(write(ends[1], text.data(), text.size()) < 0 ? kFailed : 0);
    }
    close(ends[1]);
    std::string text(2000, '\0');
    const auto length = read(ends[0], text.data(), text.size());
    close(ends[0]);
    text.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    waitpid(child, nullptr, 0);
    return text;
  }

 private:
  static constexpr int kFailed = 99;

  static bool enterNamespace() {
    const int flags = CLONE_NEWNS | (geteuid() != 0 ? CLONE_NEWUSER : 0);
    return unshare(flags) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
  }

  static bool put(const Machine& machine, const char* folder) {
    std::filesystem::create_directories(machine.path(folder));
    return mount(machine.path(folder).c_str(), folder, nullptr, MS_BIND, nullptr) == 0;
  }

  static int noConversation(int, const pam_message**, pam_response**, void*) {
    return PAM_CONV_ERR;
  }

  /// nullptr where libpam refuses to start.
  static pam_handle_t* start(const Machine& machine, const std::string& service) {
    if (!enterNamespace() || !put(machine, "/etc/pam.d") || !put(machine, "/usr/lib/pam.d")) {
      _exit(kFailed);
    }
    static const pam_conv conversation{noConversation, nullptr};
    pam_handle_t* handle = nullptr;
    const int status = pam_start(service.c_str(), "carol", &conversation, &handle);
    return status == PAM_SUCCESS ? handle : nullptr;
  }

  static int answers(const Machine& machine, const std::string& service, const Strings& names) {
    auto* handle = start(machine, service);
    if (handle == nullptr) return 0;
    unsigned bits = 0;
    tryAnswers(handle, names, 0, false, bits);
    pam_end(handle, PAM_SUCCESS);
    return static_cast<int>(bits);
  }

  /// Tries every answer of the modules from that name on.
  static void tryAnswers(pam_handle_t* handle, const Strings& names, std::size_t from,
                         bool guardRefuses, unsigned& bits) {
    if (from == names.size()) {
      tryOnce(handle, guardRefuses, bits);
      return;
    }
    for (const int answer :
         {PAM_SUCCESS, PAM_PERM_DENIED, PAM_NEW_AUTHTOK_REQD, PAM_ACCT_EXPIRED, PAM_IGNORE}) {
      if (names[from] == "guard" && answer == PAM_NEW_AUTHTOK_REQD) continue;
      pam_putenv(handle, (names[from] + "=" + std::to_string(answer)).c_str());
      const bool refuses = names[from] == "guard" && answer != PAM_SUCCESS && answer != PAM_IGNORE;
      tryAnswers(handle, names, from + 1, guardRefuses || refuses, bits);
    }
  }

  static void tryOnce(pam_handle_t* handle, bool guardRefuses, unsigned& bits) {
    pam_putenv(handle, "guard_ASKED=");
    const int outcome = pam_acct_mgmt(handle, 0);
    if (outcome != PAM_SUCCESS && outcome != PAM_NEW_AUTHTOK_REQD) return;
    const bool isAsked = std::string_view(pam_getenv(handle, "guard_ASKED")) == "1";
    bits |= 1U;
    if (!isAsked) bits |= 2U;
    if (isAsked && guardRefuses) bits |= 4U;
  }
};

}  // namespace gatehall
