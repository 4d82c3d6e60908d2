#pragma once

#include <unicode/uvernum.h>

// ICU's libraries and functions carry its version in their names; what is mapped must be what the
// headers describe.

#define GATEHALL_TEXT_OF(macro) #macro
#define GATEHALL_ICU_SONAME(library, version) library ".so." GATEHALL_TEXT_OF(version)

namespace gatehall {

inline constexpr const char* kIcuuc = GATEHALL_ICU_SONAME("libicuuc", U_ICU_VERSION_MAJOR_NUM);
inline constexpr const char* kIcui18n = GATEHALL_ICU_SONAME("libicui18n", U_ICU_VERSION_MAJOR_NUM);

}  // namespace gatehall

#undef GATEHALL_ICU_SONAME
#undef GATEHALL_TEXT_OF
