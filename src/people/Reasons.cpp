#include "people/Reasons.h"

namespace gatehall {

std::string reasonText(ListFault fault, const Words& words) {
  // TRANSLATORS: these stand behind "The list of users can't be shown:".
  switch (fault) {
    case ListFault::BusAway:
      return std::string(words.translated("the system bus isn't running"));
    case ListFault::ServiceAway:
      return std::string(words.translated("the service that keeps it isn't running"));
    case ListFault::NoAnswer:
      break;
    case ListFault::NotUnderstood:
      return std::string(words.translated("the service that keeps it can't be understood"));
  }
  return std::string(words.translated("the service that keeps it doesn't answer"));
}

}  // namespace gatehall
