#include "world/json/DateText.h"

#include <charconv>
#include <chrono>

#include "base/Ascii.h"

namespace gatehall {

namespace {

/// Takes texts of a fixed form apart, from front to back; a part that is missing spoils the rest.
class Parts {
 public:
  explicit Parts(std::string_view text) : mRest(text) {}

  /// A number of so many digits, no larger than most.
  int number(std::size_t digits, int most) {
    const auto part = mRest.substr(0, digits);
    if (part.size() != digits || !ascii::isNumber(part)) return spoil();
    int value = 0;
    std::from_chars(part.data(), part.data() + part.size(), value);
    mRest.remove_prefix(digits);
    return value <= most ? value : spoil();
  }

  void mark(std::string_view allowed) {
    if (mRest.empty() || allowed.find(mRest.front()) == std::string_view::npos) {
      spoil();
    } else {
      mRest.remove_prefix(1);
    }
  }

  bool startsWith(char c) const { return mRest.starts_with(c); }

  /// The digits behind a decimal point, as what they add to the number before it.
  double fraction() {
    mRest.remove_prefix(1);
    const auto count = std::min(mRest.find_first_not_of("0123456789"), mRest.size());
    if (count == 0 || count > 9) return spoil();
    double scale = 1;
    for (std::size_t digit = 0; digit < count; ++digit) scale *= 10;
    return number(count, 999'999'999) / scale;
  }

  bool done() const { return mGood && mRest.empty(); }

 private:
  int spoil() {
    mGood = false;
    mRest = {};
    return 0;
  }

  std::string_view mRest;
  bool mGood = true;
};

}  // namespace

std::optional<Date> dateFromText(std::string_view text) {
  Parts parts(text);
  const std::chrono::year inYear(parts.number(4, 9999));
  parts.mark("-");
  const std::chrono::month inMonth(static_cast<unsigned>(parts.number(2, 12)));
  parts.mark("-");
  const std::chrono::day onDay(static_cast<unsigned>(parts.number(2, 31)));
  parts.mark("Tt");
  const std::chrono::hours hour(parts.number(2, 23));
  parts.mark(":");
  const std::chrono::minutes minute(parts.number(2, 59));
  parts.mark(":");
  std::chrono::duration<double> second(parts.number(2, 59));
  if (parts.startsWith('.')) second += std::chrono::duration<double>(parts.fraction());

  std::chrono::minutes ahead(0);
  if (parts.startsWith('+') || parts.startsWith('-')) {
    const int sign = parts.startsWith('-') ? -1 : 1;
    parts.mark("+-");
    ahead = std::chrono::hours(sign * parts.number(2, 23));
    parts.mark(":");
    ahead += std::chrono::minutes(sign * parts.number(2, 59));
  } else {
    parts.mark("Zz");
  }
  const std::chrono::year_month_day calendarDay(inYear, inMonth, onDay);
  if (!parts.done() || !calendarDay.ok()) return std::nullopt;
  return Date(std::chrono::sys_days(calendarDay)) + hour + minute + second - ahead;
}

}  // namespace gatehall
