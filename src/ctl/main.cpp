#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

#include "ctl/CommandLine.h"

namespace {

using gatehall::ctl::ExitStatus;
using gatehall::ctl::ScreenSize;

/// Whether standard output is a terminal that wants colours (no-color.org).
bool wantsColour() {
  const auto set = [](const char* name) {
    const char* value = std::getenv(name);
    return std::string_view(value != nullptr ? value : "");
  };
  return isatty(STDOUT_FILENO) == 1 && set("NO_COLOR").empty() && set("TERM") != "dumb";
}

/// The size of the terminal that standard output is; absent when it is none.
std::optional<ScreenSize> terminalSize() {
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) return std::nullopt;
  return ScreenSize{.rows = size.ws_row, .columns = size.ws_col};
}

bool write(std::FILE* file, std::string_view text) {
  return std::fwrite(text.data(), 1, text.size(), file) == text.size() && std::fflush(file) == 0;
}

/// Shows a line in place of the one before.
void showProgress(std::string_view line) {
  std::string text("\r\x1B[K");
  write(stderr, text.append(line));
}

}  // namespace

int main(int argc, char** argv) {
  unsetenv("TZ");  // who may log in at what hours goes by the machine's zone
  // libldap starts GnuTLS once it needs it; started while it is mapped, it would take up a good
  // part of a short run.
  setenv("GNUTLS_NO_IMPLICIT_INIT", "1", 1);
  const gatehall::Strings words(argv + (argc > 0 ? 1 : 0), argv + argc);
  int failure = 0;
  const auto print = [&failure](std::string_view text) {
    if (failure == 0 && !write(stdout, text)) failure = errno;
    return failure == 0;
  };
  auto outcome = gatehall::ctl::runCommandLine(
      words, {.write = print,
              .size = terminalSize,
              .colour = wantsColour(),
              .progress = isatty(STDERR_FILENO) == 1 ? showProgress : nullptr});
  if (!print(outcome.output)) {
    outcome.errors += std::string("gatehallctl: unable to write: ") + std::strerror(failure) + "\n";
    outcome.status = ExitStatus::HostFailure;
  }
  write(stderr, outcome.errors);
  // All is written, and nothing has to be taken apart.
  std::_Exit(static_cast<int>(outcome.status));
}
