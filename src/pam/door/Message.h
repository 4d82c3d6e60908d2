#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

/// What goes between the module and the program that decides for it: one question and one answer,
/// messages of one size each, without a pointer and without a length that the other side would have
/// to believe.
namespace gatehall::pam {

/// A text with an end of its own, of less than that many bytes.
template <std::size_t Size>
struct BoundedText {
  std::array<char, Size> bytes;

  /// False for a text that doesn't fit, or holds a NUL character.
  bool set(std::string_view value) {
    if (value.size() >= Size || value.find('\0') != std::string_view::npos) return false;
    bytes.fill('\0');
    if (!value.empty()) std::memcpy(bytes.data(), value.data(), value.size());
    return true;
  }

  /// Empty when it has no end.
  std::string_view value() const {
    const auto length = strnlen(bytes.data(), Size);
    return {bytes.data(), length == Size ? 0 : length};
  }
};

/// Whether somebody may pass a door.
struct Question {
  BoundedText<256> userName;
  BoundedText<64> service;
  BoundedText<64> language;  ///< a locale's name; empty: the machine's
  BoundedText<192> fault;    ///< of the module's arguments, which leaves nothing to decide by
  std::uint32_t isLocal;     ///< 1 at a local door, else 0
  std::uint32_t hours;       ///< 1 where login hours count, else 0
  std::uint32_t admitsUndecidable;  ///< 1 where whoever it can't be told of is let in, else 0
};

enum class Verdict : std::uint32_t {
  Undecidable = 1,
  Refused,
  Admitted,
  Unknown,  ///< the machine has no such account
};

struct Answer {
  Verdict verdict;
  BoundedText<512> sentence;  ///< for the person, in UTF-8; empty for who is admitted
};

/// How long an answer may take, in seconds; the program ends by then.
inline constexpr unsigned kLongestDecision = 25;

}  // namespace gatehall::pam
