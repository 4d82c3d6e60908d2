#include "ctl/print/NetworkText.h"

namespace gatehall::ctl {

std::string networkStatusText(std::int32_t networkStatus) {
  switch (networkStatus) {
    case 0:
      return "0: two nodes or fewer answer";
    case 1:
      return "1: some nodes don't answer";
    default:
      return "2: all nodes answer, or there is no network directory";
  }
}

}  // namespace gatehall::ctl
