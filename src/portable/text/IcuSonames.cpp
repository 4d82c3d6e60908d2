#include "portable/text/IcuSonames.h"

#include <unicode/uvernum.h>

#define GATEHALL_TEXT_OF(macro) #macro
#define GATEHALL_SONAME(library, version) library ".so." GATEHALL_TEXT_OF(version)
#define GATEHALL_PACKAGE(library, version) library GATEHALL_TEXT_OF(version)

namespace gatehall {

const char* const kIcuuc = GATEHALL_SONAME("libicuuc", U_ICU_VERSION_MAJOR_NUM);
const char* const kIcui18n = GATEHALL_SONAME("libicui18n", U_ICU_VERSION_MAJOR_NUM);
const char* const kIcuPackage = GATEHALL_PACKAGE("libicu", U_ICU_VERSION_MAJOR_NUM);

}  // namespace gatehall
