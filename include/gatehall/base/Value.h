#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "gatehall/base/Export.h"

namespace gatehall {

class Value;

/// Seconds since 1970-01-01 00:00 UTC, with fractions.
using Date = std::chrono::sys_time<std::chrono::duration<double>>;
using Data = std::vector<std::uint8_t>;
using Strings = std::vector<std::string>;
using Array = std::vector<Value>;
using Dictionary = std::map<std::string, Value, std::less<>>;

/// One attribute, preference or property-list value: a string, an integer, a real, a boolean, a
/// date, bytes, an array or a dictionary. Absence is an empty std::optional<Value>, never a Value.
class GATEHALL_EXPORT Value {
 public:
  using Storage =
      std::variant<std::string, std::int64_t, double, bool, Date, Data, Array, Dictionary>;

  Value(std::string text) : mStorage(std::move(text)) {}
  Value(std::string_view text) : mStorage(std::string(text)) {}
  Value(const char* text) : mStorage(std::string(text)) {}
  Value(std::int64_t number) : mStorage(number) {}
  Value(int number) : mStorage(static_cast<std::int64_t>(number)) {}
  Value(double number) : mStorage(number) {}
  Value(bool flag) : mStorage(flag) {}
  Value(Date date) : mStorage(date) {}
  Value(Data bytes) : mStorage(std::move(bytes)) {}
  Value(Array elements) : mStorage(std::move(elements)) {}
  Value(Dictionary entries) : mStorage(std::move(entries)) {}
  /// An array of strings, the form in which a directory hands out an attribute.
  Value(const Strings& texts);

  /// The content when the value is of that kind, else nullptr. The pointer is good as long as the
  /// value.
  const std::string* string() const { return std::get_if<std::string>(&mStorage); }
  const Date* date() const { return std::get_if<Date>(&mStorage); }
  const Data* data() const { return std::get_if<Data>(&mStorage); }
  const Array* array() const { return std::get_if<Array>(&mStorage); }
  const Dictionary* dictionary() const { return std::get_if<Dictionary>(&mStorage); }

  /// True for an integer, a real and a boolean.
  bool isNumber() const;

  /// The value read as a whole number: a number truncated toward zero (a boolean is 0 or 1), a
  /// string by its decimal prefix (integerPrefix). Empty for the other kinds.
  std::optional<std::int64_t> integerValue() const;

  /// The same for unsigned 64-bit quantities, so that decimal text up to 2^64-1 is read whole; a
  /// negative number is reinterpreted modulo 2^64.
  std::optional<std::uint64_t> unsignedValue() const;

  /// The value read as a boolean: a number is true when it is not zero, a string by booleanPrefix.
  /// Empty for the other kinds.
  std::optional<bool> booleanValue() const;

  /// The value as a person reads it: a string as it stands, a number in decimal, a boolean as 1 or
  /// 0, a list as "(a, b)", a dictionary as "{key = value; }" in key order.
  std::string description() const;

  /// Overwrites the texts and bytes that the value holds, at any depth, and leaves them empty: for
  /// secrets, before their memory is given back.
  void wipe();

  const Storage& storage() const { return mStorage; }
  friend bool operator==(const Value&, const Value&) = default;

 private:
  Storage mStorage;
};

/// The decimal number a text begins with: white space, a sign and digits, up to the first other
/// character; 0 when there is no digit. A number beyond 64 bits answers the nearest that fits.
GATEHALL_EXPORT std::int64_t integerPrefix(std::string_view text);

/// True when the text, after white space, one sign and any zeros, goes on with Y, y, T, t or a
/// digit from 1 to 9.
GATEHALL_EXPORT bool booleanPrefix(std::string_view text);

/// A preference store's stricter reading: a boolean, a number, or a text that is exactly "true",
/// "yes", "1", "false", "no" or "0" in any case. Empty for everything else.
GATEHALL_EXPORT std::optional<bool> strictBoolean(const Value& value);

/// A list of texts as a person reads it: "(a, b)".
GATEHALL_EXPORT std::string description(const Strings& texts);

/// A dictionary as a person reads it: "{key = value; key = value; }", in key order.
GATEHALL_EXPORT std::string description(const Dictionary& entries);

}  // namespace gatehall
