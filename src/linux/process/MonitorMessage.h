#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string.h>
#include <string_view>

namespace gatehall {

/// What a monitor is asked.
enum class MonitorQuestion : std::uint32_t {
  PasswordKind = 1,      ///< of the local account with that login name and user id
  AcceptsEmptyPassword,  ///< the same account
  BindPassword,          ///< the password file of a network directory, by its path
  ClientKey,             ///< a part of its key file, by its path and where the part begins
};

/// What became of a question.
enum class MonitorAnswer : std::uint32_t {
  Unknown,
  Told,    ///< the number or the text says what
  Untold,  ///< the text says why not
};

/// What goes between a program and its monitor: messages of one size, without a pointer and
/// without a length that the other side would have to believe.
struct MonitorMessage {
  MonitorMessage() = default;
  MonitorMessage(const MonitorMessage&) = default;
  MonitorMessage& operator=(const MonitorMessage&) = default;
  /// The text may be a password.
  ~MonitorMessage() { explicit_bzero(text.data(), text.size()); }

  MonitorQuestion question{};
  MonitorAnswer answer{};
  std::uint32_t number = 0;  ///< the user id, or a place; of an answer what the question asks for
  std::array<char, 1024> text{};

  /// False for a text that doesn't fit, or holds a NUL character.
  bool setText(std::string_view value) {
    if (value.size() >= text.size() || value.find('\0') != std::string_view::npos) return false;
    text.fill('\0');
    value.copy(text.data(), value.size());
    return true;
  }

  /// Absent when it has no end.
  std::optional<std::string_view> textValue() const {
    const auto length = strnlen(text.data(), text.size());
    if (length == text.size()) return std::nullopt;
    return std::string_view(text.data(), length);
  }
};

}  // namespace gatehall
