#pragma once

namespace gatehall {

/// ICU's libraries as they are called where they are mapped. They, and their functions, carry ICU's
/// version in their names: what is mapped must be what the headers described.
extern const char* const kIcuuc;
extern const char* const kIcui18n;

/// Debian's package that has both.
extern const char* const kIcuPackage;

}  // namespace gatehall
