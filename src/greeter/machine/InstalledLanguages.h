#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "greeter/machine/Languages.h"
#include "linux/loop/EventLoop.h"

namespace gatehall::greeter {

/// Asks locale(1) for the installed locales, once. Never waits for it. On the main thread, while
/// its loop runs.
class InstalledLanguages {
 public:
  using Handler = std::function<void(const std::vector<Language>&)>;

  /// Calls the handler from the loop, once; never where the program can't be run.
  InstalledLanguages(EventLoop& events, Handler handler,
                     const std::string& program = "/usr/bin/locale");
  ~InstalledLanguages();
  InstalledLanguages(const InstalledLanguages&) = delete;
  InstalledLanguages& operator=(const InstalledLanguages&) = delete;

 private:
  struct Program;

  void read();

  const Handler mHandler;
  std::unique_ptr<Program> mProgram;  ///< while it runs
  EventLoop::SourceHandle mSource;
};

}  // namespace gatehall::greeter
