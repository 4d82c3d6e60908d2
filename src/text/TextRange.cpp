#include "gatehall/text/TextRange.h"

#include <string>

namespace gatehall {

RangeException::RangeException(TextRange range)
    : PlatformException("Invalid range {" + std::to_string(range.location) + ", " +
                        std::to_string(range.length) + "}.") {}

}  // namespace gatehall
