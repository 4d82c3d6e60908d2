#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "gatehall/world/json/WorldError.h"

namespace gatehall {

struct JsonMember;

/// A number with a fraction or an exponent, or one beyond 64 bits.
struct JsonReal {
  double value;
  std::string text;  ///< as written
};

/// A JSON value that knows where in its text it stands.
struct JsonValue {
  using Elements = std::vector<JsonValue>;
  using Members = std::vector<JsonMember>;

  std::variant<std::nullptr_t, bool, std::int64_t, JsonReal, std::string, Elements, Members>
      content;
  std::size_t offset = 0;  ///< bytes before the value
};

struct JsonMember {
  std::string key;
  std::size_t offset = 0;  ///< bytes before the key
  JsonValue value;
};

/// Something that is wrong in a JSON text.
struct JsonFault {
  std::size_t offset = 0;  ///< bytes before it
  std::string path{};      ///< of keys (RFC 6901); empty for the whole and where there is none
  std::string what{};
  std::vector<std::string> known{};  ///< of a key that isn't known: those that are, there
};

/// A JSON text and the name that errors call it by.
struct JsonSource {
  std::string name;
  std::string_view text;
  /// Where everything that is wrong is put, for who wants to hear of all of it; nullptr: the first
  /// fault is raised.
  std::vector<JsonFault>* faults = nullptr;

  struct Place {
    std::size_t line;    ///< from 1
    std::size_t column;  ///< from 1, in bytes
  };
  Place placeOf(std::size_t offset) const;

  /// "name:line:column".
  std::string place(std::size_t offset) const;

  /// Raises WorldError: where it is, what is wrong.
  [[noreturn]] void fail(JsonFault fault) const;

  /// The same, unless faults are collected: then it goes on.
  void note(JsonFault fault) const;

  /// Calls the function; where faults are collected, one that ends it is kept.
  template <class Function>
  void attempt(Function function) const;
};

/// A fault, raised.
class JsonError final : public WorldError {
 public:
  JsonError(const std::string& message, JsonFault fault)
      : WorldError(message), mFault(std::move(fault)) {}

  const JsonFault& fault() const { return mFault; }

 private:
  JsonFault mFault;
};

template <class Function>
void JsonSource::attempt(Function function) const {
  if (faults == nullptr) return function();
  try {
    function();
  } catch (const JsonError& error) {
    faults->push_back(error.fault());
  }
}

/// Reads a JSON text (RFC 8259) that may hold // and /* */ comments. Raises WorldError, naming the
/// place, for text that is no JSON, is nested deeper than 64 levels, or gives a key twice in one
/// object; the last is collected where faults are.
JsonValue parseJson(const JsonSource& source);

}  // namespace gatehall
