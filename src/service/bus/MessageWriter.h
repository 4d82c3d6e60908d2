#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "linux/bus/SdBus.h"

namespace gatehall::service {

/// The bytes as a text for a message: what D-Bus takes for no text is U+FFFD there, bytes that are
/// no UTF-8, noncharacters and NUL.
std::string forMessage(std::string_view bytes);

/// Appends values to a message, one after another. Raises PlatformException when sd-bus refuses
/// one, after which the message is good for nothing.
class MessageWriter {
 public:
  explicit MessageWriter(sd_bus_message* message) : mMessage(message) {}

  void text(std::string_view text);  ///< "s", forMessage
  void boolean(bool value);          ///< "b"
  void number(std::int32_t value);   ///< "i"
  void number(std::uint32_t value);  ///< "u"
  void number(std::int64_t value);   ///< "x"
  void number(std::uint64_t value);  ///< "t"
  void number(double value);         ///< "d"

  /// About how many bytes were written, or a few more.
  std::size_t size() const { return mSize; }

  /// A container around what the function appends.
  template <class Function>
  void within(char type, const char* contents, Function append) {
    open(type, contents);
    append();
    close();
  }

  /// An entry of "a{sv}", whose value of that signature the function appends.
  template <class Function>
  void entry(std::string_view key, const char* signature, Function append) {
    within(SD_BUS_TYPE_DICT_ENTRY, "sv", [&] {
      text(key);
      within(SD_BUS_TYPE_VARIANT, signature, append);
    });
  }

 private:
  void basic(char type, const void* value);
  void open(char type, const char* contents);
  void close();

  sd_bus_message* mMessage;
  std::size_t mSize = 0;
};

}  // namespace gatehall::service
