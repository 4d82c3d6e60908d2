#include "portable/LazyLibrary.h"

#include <dlfcn.h>
#include <string>

#include "gatehall/base/PlatformException.h"

namespace gatehall {

LazyLibrary::LazyLibrary(const char* soname, const char* package)
    : mHandle(dlopen(soname, RTLD_NOW | RTLD_LOCAL)) {
  if (mHandle != nullptr) return;
  // The loader may miss a library that this one needs as well: it names the one.
  const std::string problem = dlerror();
  if (!problem.starts_with(std::string(soname) +
                           ": cannot open shared object file: No such file")) {
    throw PlatformException(problem);
  }
  throw PlatformException(std::string(soname) + " is missing: install " + package);
}

void* LazyLibrary::address(const char* name) const {
  void* there = found(name);
  if (there == nullptr) throw PlatformException(dlerror());
  return there;
}

void* LazyLibrary::found(const char* name) const { return dlsym(mHandle, name); }

}  // namespace gatehall
