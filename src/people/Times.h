#pragma once

#include <string>

#include "gatehall/base/Value.h"

namespace gatehall {

// Times as they are written for people: in the machine's time zone, by the process's locale
// (LC_TIME, setlocale(3)). Where that isn't written in UTF-8, names of days and months are English.

/// A time of the day, without its seconds: "9:05" and "20:05", or "9:05 AM" and "8:05 PM".
std::string timeOfDay(Date date);

/// By a format of strftime(3); "" where that would be longer than 255 bytes.
std::string timeText(Date date, const std::string& format);

}  // namespace gatehall
