#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <unistd.h>

#include "ctl/CommandLine.h"

namespace {

using gatehall::ctl::ExitStatus;

/// Whether standard output is a terminal that wants colours (no-color.org).
bool wantsColour() {
  const auto set = [](const char* name) {
    const char* value = std::getenv(name);
    return std::string_view(value != nullptr ? value : "");
  };
  return isatty(STDOUT_FILENO) == 1 && set("NO_COLOR").empty() && set("TERM") != "dumb";
}

bool write(std::FILE* file, const std::string& text) {
  return std::fwrite(text.data(), 1, text.size(), file) == text.size() && std::fflush(file) == 0;
}

}  // namespace

int main(int argc, char** argv) {
  const gatehall::Strings words(argv + (argc > 0 ? 1 : 0), argv + argc);
  auto outcome = gatehall::ctl::runCommandLine(words, wantsColour());
  if (!write(stdout, outcome.output)) {
    outcome.errors += std::string("gatehallctl: unable to write: ") + std::strerror(errno) + "\n";
    outcome.status = ExitStatus::HostFailure;
  }
  write(stderr, outcome.errors);
  return static_cast<int>(outcome.status);
}
