#include "portable/LazyLibrary.h"

#include <dlfcn.h>

#include "gatehall/base/PlatformException.h"

namespace gatehall {

LazyLibrary::LazyLibrary(const char* soname) : mHandle(dlopen(soname, RTLD_NOW | RTLD_LOCAL)) {
  if (mHandle == nullptr) throw PlatformException(dlerror());
}

void* LazyLibrary::address(const char* name) const {
  void* found = dlsym(mHandle, name);
  if (found == nullptr) throw PlatformException(dlerror());
  return found;
}

}  // namespace gatehall
