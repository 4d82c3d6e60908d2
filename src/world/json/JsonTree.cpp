#include "world/json/JsonTree.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <nlohmann/json.hpp>
#include <utility>

namespace gatehall {

namespace {

constexpr std::size_t kDeepest = 64;

/// Reads characters and keeps how far the parser has come, which it does not tell by itself.
class CountedText {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  CountedText(const char* at, std::size_t& consumed) : mAt(at), mConsumed(&consumed) {}

  reference operator*() const { return *mAt; }
  CountedText& operator++() {
    ++mAt;
    ++*mConsumed;
    return *this;
  }
  CountedText operator++(int) {
    auto before = *this;
    ++*this;
    return before;
  }
  friend bool operator==(const CountedText& left, const CountedText& right) {
    return left.mAt == right.mAt;
  }

 private:
  const char* mAt;
  std::size_t* mConsumed;
};

/// The parser's events, in the form that nlohmann::json::sax_parse calls them.
class TreeBuilder {
 public:
  TreeBuilder(const JsonSource& source, const std::size_t& consumed)
      : mSource(source), mConsumed(consumed) {}

  JsonValue take() { return std::move(mRoot); }

  bool null() { return add(nullptr, mConsumed - 4); }
  bool boolean(bool value) { return add(value, mConsumed - (value ? 4U : 5U)); }
  bool number_integer(std::int64_t value) { return add(value, numberStart()); }
  bool number_unsigned(std::uint64_t value) {
    if (std::cmp_less_equal(value, std::numeric_limits<std::int64_t>::max())) {
      return number_integer(static_cast<std::int64_t>(value));
    }
    return number_float(static_cast<double>(value), std::to_string(value));
  }
  bool number_float(double value, const std::string& text) {
    return add(JsonReal{value, text}, numberStart());
  }
  bool string(std::string& value) { return add(std::move(value), stringStart()); }
  bool binary(nlohmann::json::binary_t&) { return false; }

  bool start_object(std::size_t) { return open<JsonValue::Members>(); }
  bool key(std::string& key) {
    auto& members = std::get<JsonValue::Members>(mOpen.back()->content);
    auto& member = members.emplace_back();
    member.key = std::move(key);
    member.offset = stringStart();
    return true;
  }
  bool end_object() {
    refuseRepeatedKeys(std::get<JsonValue::Members>(mOpen.back()->content));
    return close();
  }
  bool start_array(std::size_t) { return open<JsonValue::Elements>(); }
  bool end_array() { return close(); }

  [[noreturn]] bool parse_error(std::size_t position, const std::string&,
                                const nlohmann::json::exception& error) {
    // "[kind of error] parse error at line 1, column 2: what is wrong", or without the middle.
    std::string_view text = error.what();
    text.remove_prefix(std::min(text.find("] ") + 2, text.size()));
    if (text.starts_with("parse error")) text.remove_prefix(text.find(": ") + 2);
    fail(position == 0 ? 0 : position - 1, text);
  }

 private:
  [[noreturn]] void fail(std::size_t offset, std::string_view what) const {
    mSource.fail({.offset = offset, .what = std::string(what)});
  }

  /// The parser reads one character beyond a number that does not end the text.
  std::size_t numberStart() const {
    constexpr std::string_view numeral = "+-.0123456789Ee";
    const auto last = mSource.text.find_last_of(numeral, mConsumed - 1);
    const auto before = mSource.text.find_last_not_of(numeral, last);
    return before == std::string_view::npos ? 0 : before + 1;
  }

  /// The parser stands behind the closing quote; a quote within is escaped, one backslash or any
  /// odd number of them.
  std::size_t stringStart() const {
    auto quote = mConsumed - 1;
    while (true) {
      quote = mSource.text.rfind('"', quote - 1);
      const auto before = mSource.text.find_last_not_of('\\', quote - 1);
      const auto backslashes = before == std::string_view::npos ? quote : quote - 1 - before;
      if (quote == 0 || backslashes % 2 == 0) return quote;
    }
  }

  /// The place of the next value. The container that holds it is the last value of its own
  /// container and does not grow while it is open, so places stay valid.
  JsonValue& place(std::size_t offset) {
    auto& value = nextValue();
    value.offset = offset;
    return value;
  }

  JsonValue& nextValue() {
    if (mOpen.empty()) return mRoot;
    auto& container = mOpen.back()->content;
    if (auto* elements = std::get_if<JsonValue::Elements>(&container)) {
      return elements->emplace_back();
    }
    return std::get<JsonValue::Members>(container).back().value;
  }

  template <class Content>
  bool add(Content content, std::size_t offset) {
    place(offset).content.emplace<Content>(std::move(content));
    return true;
  }

  template <class Container>
  bool open() {
    const auto offset = mConsumed - 1;
    if (mOpen.size() == kDeepest) fail(offset, "nested too deep");
    auto& value = place(offset);
    value.content.emplace<Container>();
    mOpen.push_back(&value);
    return true;
  }

  bool close() {
    mOpen.pop_back();
    return true;
  }

  void refuseRepeatedKeys(const JsonValue::Members& members) const {
    std::vector<const JsonMember*> sorted;
    sorted.reserve(members.size());
    for (const auto& member : members) sorted.push_back(&member);
    std::ranges::sort(sorted, {}, [](const auto* member) {
      return std::pair<std::string_view, std::size_t>(member->key, member->offset);
    });
    const auto repeated = std::ranges::adjacent_find(
        sorted, {}, [](const auto* member) -> std::string_view { return member->key; });
    if (repeated == sorted.end()) return;
    mSource.note({.offset = repeated[1]->offset,
                  .what = "the key \"" + repeated[1]->key + "\" is given twice"});
  }

  const JsonSource& mSource;
  const std::size_t& mConsumed;
  JsonValue mRoot;
  std::vector<JsonValue*> mOpen;
};

}  // namespace

JsonSource::Place JsonSource::placeOf(std::size_t offset) const {
  const auto before = text.substr(0, offset);
  const auto line = static_cast<std::size_t>(std::ranges::count(before, '\n')) + 1;
  const auto lineStart = before.rfind('\n');
  return {line, lineStart == std::string_view::npos ? offset + 1 : offset - lineStart};
}

std::string JsonSource::place(std::size_t offset) const {
  const auto [line, column] = placeOf(offset);
  return name + ":" + std::to_string(line) + ":" + std::to_string(column);
}

void JsonSource::fail(JsonFault fault) const {
  auto message = place(fault.offset) + (fault.path.empty() ? "" : ": " + fault.path);
  message += ": " + fault.what;
  throw JsonError(message, std::move(fault));
}

void JsonSource::note(JsonFault fault) const {
  if (faults == nullptr) fail(std::move(fault));
  faults->push_back(std::move(fault));
}

JsonValue parseJson(const JsonSource& source) {
  std::size_t consumed = 0;
  TreeBuilder builder(source, consumed);
  const auto* begin = source.text.data();
  constexpr bool wholeText = true;
  constexpr bool withComments = true;
  nlohmann::json::sax_parse(CountedText(begin, consumed),
                            CountedText(begin + source.text.size(), consumed), &builder,
                            nlohmann::json::input_format_t::json, wholeText, withComments);
  return builder.take();
}

}  // namespace gatehall
