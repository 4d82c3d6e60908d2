#include "service/bus/MessageWriter.h"

#include <algorithm>
#include <string>
#include <system_error>

#include "gatehall/base/PlatformException.h"
#include "portable/text/Utf8.h"

namespace gatehall::service {

namespace {

/// What a length, a number or the beginning of a container takes at most (D-Bus wire format,
/// Marshaling).
constexpr std::size_t kAligned = 8;

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

void check(int result) {
  if (result >= 0) return;
  throw PlatformException("Unable to write a message: " + std::generic_category().message(-result));
}

/// U+FDD0 to U+FDEF, and the last two of every plane, which sd-bus(3) doesn't take.
bool isNoncharacter(std::string_view sequence) {
  const auto at = [&](std::size_t index) { return static_cast<unsigned char>(sequence[index]); };
  if (sequence.size() == 3 && at(0) == 0xEF) {
    return (at(1) == 0xB7 && at(2) >= 0x90 && at(2) <= 0xAF) || (at(1) == 0xBF && at(2) >= 0xBE);
  }
  return sequence.size() == 4 && (at(1) & 0x0FU) == 0x0F && at(2) == 0xBF && at(3) >= 0xBE;
}

/// Whether the bytes, a well-formed sequence or none, may be sent as they are.
bool isText(std::string_view sequence) {
  return !sequence.empty() && sequence != std::string_view("\0", 1) && !isNoncharacter(sequence);
}

}  // namespace

std::string forMessage(std::string_view bytes) {
  std::string text;
  while (!bytes.empty()) {
    const auto wellFormed = utf8SequenceLength(bytes);
    const auto sequence = bytes.substr(0, wellFormed);
    text.append(isText(sequence) ? sequence : kReplacement);
    bytes.remove_prefix(std::max<std::size_t>(wellFormed, 1));
  }
  return text;
}

void MessageWriter::text(std::string_view text) {
  mSize += text.size();
  basic(SD_BUS_TYPE_STRING, forMessage(text).c_str());
}

void MessageWriter::boolean(bool value) {
  const int number = value ? 1 : 0;
  basic(SD_BUS_TYPE_BOOLEAN, &number);
}

void MessageWriter::number(std::int32_t value) { basic(SD_BUS_TYPE_INT32, &value); }
void MessageWriter::number(std::uint32_t value) { basic(SD_BUS_TYPE_UINT32, &value); }
void MessageWriter::number(std::int64_t value) { basic(SD_BUS_TYPE_INT64, &value); }
void MessageWriter::number(std::uint64_t value) { basic(SD_BUS_TYPE_UINT64, &value); }
void MessageWriter::number(double value) { basic(SD_BUS_TYPE_DOUBLE, &value); }

void MessageWriter::basic(char type, const void* value) {
  mSize += kAligned;
  check(sdBus().message_append_basic(mMessage, type, value));
}

void MessageWriter::open(char type, const char* contents) {
  mSize += kAligned;
  check(sdBus().message_open_container(mMessage, type, contents));
}

void MessageWriter::close() { check(sdBus().message_close_container(mMessage)); }

}  // namespace gatehall::service
