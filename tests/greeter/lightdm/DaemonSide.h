#pragma once

#include <array>
#include <cstdint>
#include <cstdlib>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

#include "tests/Patience.h"

namespace gatehall::greeter {

/// LightDM's side of the talk with its greeter, as liblightdm-gobject 1.26 has it: a message is its
/// number, the length of the rest, and that: numbers of 32 bits, the highest byte first, and texts
/// with their length before them. The process that makes one is its greeter.
class DaemonSide {
 public:
  using Texts = std::vector<std::pair<std::string, std::string>>;
  enum Style : std::uint32_t { Secret = 1, Question = 2, Error = 3, Information = 4 };

  DaemonSide() {
    std::array<int, 2> toGreeter{};
    std::array<int, 2> fromGreeter{};
    if (pipe(toGreeter.data()) != 0 || pipe(fromGreeter.data()) != 0) {
      throw std::runtime_error("no pipes");
    }
    mRead = fromGreeter[0];
    mWrite = toGreeter[1];
    mGreeterReads = toGreeter[0];
    mGreeterWrites = fromGreeter[1];
    setenv("LIGHTDM_FROM_SERVER_FD", std::to_string(mGreeterReads).c_str(), 1);
    setenv("LIGHTDM_TO_SERVER_FD", std::to_string(mGreeterWrites).c_str(), 1);
  }
  ~DaemonSide() {
    end();
    close(mGreeterReads);
    close(mGreeterWrites);
    unsetenv("LIGHTDM_FROM_SERVER_FD");
    unsetenv("LIGHTDM_TO_SERVER_FD");
  }
  DaemonSide(const DaemonSide&) = delete;
  DaemonSide& operator=(const DaemonSide&) = delete;

  /// The descriptor that the greeter reads.
  int greeters() const { return mGreeterReads; }

  void welcome(const Texts& hints) const {
    std::string content = number(1) + text("1.26.0") + number(hints.size());
    for (const auto& [name, value] : hints) content += text(name) + text(value);
    send(7, content);
  }
  /// Prompts and messages of one turn of PAM's.
  void say(std::uint32_t login, const std::vector<std::pair<Style, std::string>>& turn) const {
    std::string content = number(login) + text("carol") + number(turn.size());
    for (const auto& [style, each] : turn) content += number(style) + text(each);
    send(1, content);
  }
  void finish(std::uint32_t login, std::uint32_t result) const {
    send(2, number(login) + text("carol") + number(result));
  }
  void sessionIs(std::uint32_t result) const { send(3, number(result)); }
  void idle() const { send(5, ""); }
  void reset(const Texts& hints) const {
    std::string content;
    for (const auto& [name, value] : hints) content += text(name) + text(value);
    send(6, content);
  }

  /// The next thing that the greeter says: "1:carol", its number with the texts in it; behind
  /// the first one whether it can be reset.
  std::string hear() const {
    const auto message = numberIn(take(4));
    const auto content = take(numberIn(take(4)));
    std::string heard = std::to_string(message);
    std::size_t place = 0;
    const auto addText = [&] {
      const auto length = numberIn(content.substr(place, 4));
      heard += ":" + content.substr(place + 4, length);
      place += 4 + length;
    };
    if (message == 1) place = 4;  // which login
    if (message == 3) {
      const auto count = numberIn(content.substr(0, 4));
      place = 4;
      for (std::uint32_t index = 0; index < count; ++index) addText();
    } else if (message == 0 || message == 1 || message == 4 || message == 6) {
      addText();
    }
    if (message == 0) heard += ":" + std::to_string(numberIn(content.substr(place, 4)));
    return heard;
  }
  bool hasMore() const {
    pollfd event{mRead, POLLIN, 0};
    return poll(&event, 1, 0) > 0;
  }

  /// Is no more.
  void end() {
    if (mRead == -1) return;
    close(std::exchange(mRead, -1));
    close(mWrite);
  }

 private:
  static std::string number(std::size_t value) {
    std::string bytes;
    for (const int shift : {24, 16, 8, 0}) bytes += static_cast<char>(value >> shift & 0xFF);
    return bytes;
  }
  static std::string text(const std::string& value) { return number(value.size()) + value; }
  static std::uint32_t numberIn(const std::string& bytes) {
    std::uint32_t value = 0;
    for (const char byte : bytes) value = value << 8 | static_cast<unsigned char>(byte);
    return value;
  }

  void send(std::uint32_t message, const std::string& content) const {
    const auto bytes = number(message) + text(content);
    if (write(mWrite, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
      throw std::runtime_error("the greeter reads nothing");
    }
  }

  std::string take(std::size_t length) const {
    std::string bytes(length, '\0');
    for (std::size_t done = 0; done < length;) {
      pollfd event{mRead, POLLIN, 0};
      if (poll(&event, 1, kPatienceMilliseconds) <= 0) throw std::runtime_error("nothing is said");
      const auto size = read(mRead, bytes.data() + done, length - done);
      if (size <= 0) throw std::runtime_error("nothing more is said");
      done += static_cast<std::size_t>(size);
    }
    return bytes;
  }

  int mRead = -1;
  int mWrite = -1;
  int mGreeterReads = -1;
  int mGreeterWrites = -1;
};

}  // namespace gatehall::greeter
