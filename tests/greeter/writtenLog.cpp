// Mapped into a program by LD_PRELOAD: what it says to the system log stands on its standard error.

#include <cstdarg>
#include <cstdio>

namespace {

void write(const char* format, std::va_list& words) {
  std::vfprintf(stderr, format, words);
  std::fputc('\n', stderr);
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) void syslog(int /*level*/, const char* format, ...) {
  std::va_list words;
  va_start(words, format);
  write(format, words);
  va_end(words);
}

// As what is built with _FORTIFY_SOURCE calls it.
__attribute__((visibility("default"))) void __syslog_chk(int /*level*/, int /*flag*/,
                                                         const char* format, ...) {
  std::va_list words;
  va_start(words, format);
  write(format, words);
  va_end(words);
}
}
