#pragma once

#if __cplusplus < 202002L
#error "Gatehall's headers need C++20: compile with -std=c++20 or later"
// An include that isn't there ends the compiler's work, which would find fault with every line
// after.
#define GATEHALL_END_OF_WORK <C++20>
#include GATEHALL_END_OF_WORK
#endif

/// Stands before what the shared library offers to other programs: every public class and function.
/// What doesn't have it is the library's own.
///
/// Programs stay good with later releases of the same soname. Options are a class with hidden
/// contents (LinuxOptions), which may grow. The plain structures that callers and hosts fill in,
/// and the interfaces, stay as they are: what one of them lacks comes as a new one beside it.
#define GATEHALL_EXPORT [[gnu::visibility("default")]]
