// Mapped into a program by LD_PRELOAD: ends it when it changes its environment while it has several
// threads. Another one may be reading it, fontconfig's for one, and such a program crashes once in
// a long while (setenv(3), unsetenv(3), putenv(3)).

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>

namespace {

void requireOneThread(const char* function, const char* variable) {
  const std::filesystem::directory_iterator threads("/proc/self/task");
  if (std::distance(begin(threads), end(threads)) == 1) return;
  std::fprintf(stderr, "%s of %s while there are several threads\n", function, variable);
  std::abort();
}

template <class Function>
Function next(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) int setenv(const char* name, const char* value,
                                                  int replaces) noexcept {
  requireOneThread("setenv", name);
  return next<int (*)(const char*, const char*, int)>("setenv")(name, value, replaces);
}

__attribute__((visibility("default"))) int unsetenv(const char* name) noexcept {
  requireOneThread("unsetenv", name);
  return next<int (*)(const char*)>("unsetenv")(name);
}

__attribute__((visibility("default"))) int putenv(char* text) noexcept {
  requireOneThread("putenv", text);
  return next<int (*)(char*)>("putenv")(text);
}
}
