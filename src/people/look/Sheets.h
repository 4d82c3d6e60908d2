#pragma once

namespace gatehall {

// The style sheets of this folder, which stand in the program.
extern const char* const kLightSheet;
extern const char* const kDarkSheet;
extern const char* const kContrastSheet;

}  // namespace gatehall
