#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

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

/// A JSON text and the name that errors call it by.
struct JsonSource {
  std::string name;
  std::string_view text;

  /// "name:line:column", both counted from 1, columns in bytes.
  std::string place(std::size_t offset) const;
};

/// Reads a JSON text (RFC 8259) that may hold // and /* */ comments. Raises WorldError, naming the
/// place, for text that is no JSON, is nested deeper than 64 levels, or gives a key twice in one
/// object.
JsonValue parseJson(const JsonSource& source);

}  // namespace gatehall
