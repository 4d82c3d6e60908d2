#include "linux/nss/Message.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <utility>

#include "gatehall/base/PlatformException.h"

namespace gatehall::nss {

namespace {

/// Of the C library's own limits, none is as long.
constexpr std::size_t kLongestText = 65536;

[[noreturn]] void fail(const char* what) { throw PlatformException(what); }

class Writer {
 public:
  void number(std::size_t value) {
    const auto bytes = bytesOf(value);
    mBytes.append(bytes.data(), bytes.size());
  }
  void text(std::string_view value) {
    number(value.size());
    mBytes += value;
  }
  void texts(const Strings& values) {
    number(values.size());
    for (const auto& each : values) text(each);
  }

  std::string takeWithin(std::size_t longest) {
    const auto length = mBytes.size() - kLengthBytes;
    if (length > longest) fail("more than can be told");
    std::ranges::copy(bytesOf(length), mBytes.begin());
    return std::move(mBytes);
  }

 private:
  using NumberBytes = std::array<char, kLengthBytes>;

  static NumberBytes bytesOf(std::size_t value) {
    if (value > UINT32_MAX) fail("more than can be told");
    return std::bit_cast<NumberBytes>(static_cast<std::uint32_t>(value));
  }

  std::string mBytes = std::string(kLengthBytes, '\0');  ///< the length first, once it is known
};

class Reader {
 public:
  explicit Reader(std::string_view bytes) : mBytes(bytes) {}

  std::uint32_t number() {
    std::uint32_t value = 0;
    std::memcpy(&value, take(sizeof value).data(), sizeof value);
    return value;
  }
  std::string text() {
    const auto length = number();
    if (length > kLongestText) fail("a text is too long");
    const auto value = take(length);
    if (value.find('\0') != std::string_view::npos) fail("a text holds a NUL byte");
    return std::string(value);
  }
  std::string name() {
    auto value = text();
    const auto isControl = [](char c) { return (c >= 0 && c < ' ') || c == '\x7F'; };
    if (value.empty() || std::ranges::any_of(value, isControl)) fail("a name is none");
    return value;
  }
  /// Calls read as often as a number says, for what has no fewer than so many bytes each.
  template <class Read>
  void each(std::size_t leastBytes, Read read) {
    const auto count = number();
    if (count > mBytes.size() / leastBytes) fail("it is cut short");
    for (std::uint32_t index = 0; index < count; ++index) read();
  }
  void end() const {
    if (!mBytes.empty()) fail("it goes on behind its end");
  }

 private:
  std::string_view take(std::size_t count) {
    if (count > mBytes.size()) fail("it is cut short");
    const auto taken = mBytes.substr(0, count);
    mBytes.remove_prefix(count);
    return taken;
  }

  std::string_view mBytes;
};

constexpr std::size_t kNumber = sizeof(std::uint32_t);

void write(Writer& writer, const Account& user) {
  writer.text(user.name);
  writer.number(user.userID);
  writer.number(user.groupID);
  for (const auto* text : {&user.gecos, &user.home, &user.shell}) writer.text(*text);
}

Account readAccount(Reader& reader) {
  Account user;
  user.name = reader.name();
  user.userID = reader.number();
  user.groupID = reader.number();
  for (auto* text : {&user.gecos, &user.home, &user.shell}) *text = reader.text();
  return user;
}

void write(Writer& writer, const AccountGroup& group) {
  writer.text(group.name);
  writer.number(group.groupID);
  writer.texts(group.members);
}

AccountGroup readGroup(Reader& reader) {
  AccountGroup group;
  group.name = reader.name();
  group.groupID = reader.number();
  reader.each(kNumber, [&] { group.members.push_back(reader.name()); });
  return group;
}

}  // namespace

std::size_t lengthOf(std::string_view bytes) { return Reader(bytes).number(); }

std::string written(const Question& question) {
  Writer writer;
  writer.number(static_cast<std::uint32_t>(question.asked));
  writer.texts(question.values);
  return writer.takeWithin(kLongestQuestion);
}

std::string written(const Answer& answer) {
  Writer writer;
  writer.text(answer.fault);
  writer.number(answer.users.size());
  for (const auto& user : answer.users) write(writer, user);
  writer.number(answer.groups.size());
  for (const auto& group : answer.groups) write(writer, group);
  writer.number(answer.groupIDs.size());
  for (const auto& ids : answer.groupIDs) {
    writer.number(ids.size());
    for (const auto id : ids) writer.number(id);
  }
  return writer.takeWithin(kLongestAnswer);
}

Question readQuestion(std::string_view bytes) {
  Reader reader(bytes);
  Question question;
  const auto asked = reader.number();
  if (asked < static_cast<std::uint32_t>(Asked::Nothing) ||
      asked > static_cast<std::uint32_t>(Asked::GroupsOfUsers)) {
    fail("an unknown question");
  }
  question.asked = static_cast<Asked>(asked);
  reader.each(kNumber, [&] { question.values.push_back(reader.text()); });
  reader.end();
  return question;
}

Answer readAnswer(std::string_view bytes) {
  Reader reader(bytes);
  Answer answer;
  answer.fault = reader.text();
  reader.each(6 * kNumber, [&] { answer.users.push_back(readAccount(reader)); });
  reader.each(3 * kNumber, [&] { answer.groups.push_back(readGroup(reader)); });
  reader.each(kNumber, [&] {
    auto& ids = answer.groupIDs.emplace_back();
    reader.each(kNumber, [&] { ids.push_back(reader.number()); });
  });
  reader.end();
  return answer;
}

}  // namespace gatehall::nss
