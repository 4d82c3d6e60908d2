#include "linux/process/ProcessStart.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace gatehall {

namespace {

/// Beyond what a switch may take, so that several in one run may each wait for services that don't
/// answer. What has no limit of its own is the system log, whose socket a stopped daemon lets fill
/// up.
constexpr unsigned kLongestRunSeconds = 60;

/// open(2) takes the lowest number that is free, so going upwards fills the gaps.
void openStandardDescriptors() {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) != -1) continue;
    if (open("/dev/null", O_RDWR) != descriptor) std::abort();
  }
}

/// What the caller left open would count against the limit on open files, and end up in the
/// monitor.
void closeOtherDescriptors() {
  if (close_range(STDERR_FILENO + 1, ~0U, 0) != 0) std::abort();
}

/// Ignored and blocked signals are inherited. A closed log socket raises SIGPIPE, and a file in
/// memory that outgrows the caller's limit on files SIGXFSZ (setrlimit(2)): both are ignored, for
/// the call then says what is wrong.
void resetSignals() {
  for (int signal = 1; signal < NSIG; ++signal) std::signal(signal, SIG_DFL);
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

}  // namespace

void distrustCaller() {
  clearenv();
  // libldap would read a file in the folder that the caller stands in (ldap.conf(5)).
  setenv("LDAPNOINIT", "1", 1);
  closeOtherDescriptors();
  openStandardDescriptors();
  resetSignals();
  umask(S_IWGRP | S_IRWXO);
  alarm(kLongestRunSeconds);
}

}  // namespace gatehall
