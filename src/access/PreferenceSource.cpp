#include "gatehall/access/PreferenceSource.h"

namespace gatehall {

const char* description(PreferenceSource source) {
  switch (source) {
    case PreferenceSource::Managed:
      return "managed";
    case PreferenceSource::Preferences:
      return "preferences";
    case PreferenceSource::Default:
      break;
  }
  return "default";
}

}  // namespace gatehall
