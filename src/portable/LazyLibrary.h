#pragma once

namespace gatehall {

/// A shared library that is mapped when the object is made, not when the program starts, and stays
/// mapped until the process ends. Wrappers make it on first use, so that a program which never
/// needs the library never pays for it.
class LazyLibrary {
 public:
  /// Looks the library up by its soname where the system's loader does (dlopen(3)). Raises
  /// PlatformException when it can't be mapped: one that is missing is said to be, with Debian's
  /// package that has it, else it is the loader's message.
  LazyLibrary(const char* soname, const char* package);

  /// The library's function of that name. Raises PlatformException when it has none.
  template <class Function>
  Function* function(const char* name) const {
    return reinterpret_cast<Function*>(address(name));
  }

  /// What the library has under that name; nullptr when it has nothing.
  template <class Type>
  Type* find(const char* name) const {
    return static_cast<Type*>(found(name));
  }

 private:
  void* address(const char* name) const;
  void* found(const char* name) const;

  void* mHandle;
};

}  // namespace gatehall

#define GATEHALL_FUNCTION_NAMED(library, name) (library).function<decltype(::name)>(#name)

/// The function of a LazyLibrary, typed by its declaration in the library's own header. Follows the
/// macros by which some headers put a version into their functions' names.
#define GATEHALL_FUNCTION(library, name) GATEHALL_FUNCTION_NAMED(library, name)
