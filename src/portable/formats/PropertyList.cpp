#include "portable/formats/PropertyList.h"

#include <bit>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <plist/plist.h>
#include <string>

#include "portable/LazyLibrary.h"
#include "portable/formats/BinaryPropertyList.h"
#include "portable/formats/PropertyListLimits.h"
#include "portable/text/Utf8.h"

namespace gatehall {

namespace {

/// 2001-01-01 00:00 UTC, from which property lists count.
constexpr Date kEpoch{std::chrono::sys_days{std::chrono::year{2001} / 1 / 1}};

struct Freed {
  void operator()(void* pointer) const { std::free(pointer); }
};
template <class T>
using FreedPointer = std::unique_ptr<T, Freed>;

struct PlistLibrary {
  LazyLibrary library{"libplist-2.0.so.3", "libplist3"};

#define GATEHALL_PLIST(name) \
  decltype(::plist_##name)* name = GATEHALL_FUNCTION(library, plist_##name)
  GATEHALL_PLIST(from_xml);
  GATEHALL_PLIST(from_bin);
  GATEHALL_PLIST(to_bin);
  GATEHALL_PLIST(free);
  GATEHALL_PLIST(get_node_type);
  GATEHALL_PLIST(get_bool_val);
  GATEHALL_PLIST(get_uint_val);
  GATEHALL_PLIST(get_uid_val);
  GATEHALL_PLIST(get_real_val);
  GATEHALL_PLIST(get_string_ptr);
  GATEHALL_PLIST(get_data_ptr);
  GATEHALL_PLIST(get_key_val);
  GATEHALL_PLIST(array_new_iter);
  GATEHALL_PLIST(array_next_item);
  GATEHALL_PLIST(dict_new_iter);
  GATEHALL_PLIST(dict_next_item);
#undef GATEHALL_PLIST
};

const PlistLibrary& libplist() {
  static const PlistLibrary library;
  return library;
}

std::string text(std::string_view bytes) {
  if (!isUtf8(bytes)) throw MalformedPropertyList("text that is not UTF-8");
  return std::string(bytes);
}

/// The number that stands in the binary form of a single number or date: libplist's own questions
/// lose the sign of an integer and what of a date lies beyond 32 bits.
struct BinaryNumber {
  bool isWide;  ///< 16 bytes, so an unsigned one of 64 bits
  std::uint64_t bits;
};

BinaryNumber binaryNumber(plist_t node) {
  char* raw = nullptr;
  std::uint32_t size = 0;
  libplist().to_bin(node, &raw, &size);
  const FreedPointer<char> owner(raw);
  const std::string_view bytes(raw, raw == nullptr ? 0 : size);
  const auto at = kBinaryPropertyListMagic.size();
  const auto length = bytes.size() > at ? std::size_t{1} << (bytes[at] & 0xF) : 0;
  if (length == 0 || bytes.size() < at + 1 + length) {
    throw MalformedPropertyList("a number that can't be read");
  }
  std::uint64_t bits = 0;
  for (const char byte : bytes.substr(at + 1, length)) {
    bits = bits << 8U | static_cast<unsigned char>(byte);
  }
  return {length > 8, bits};
}

Value integer(plist_t node) {
  std::uint64_t bits = 0;
  libplist().get_uint_val(node, &bits);
  const auto number = static_cast<std::int64_t>(bits);
  if (number < 0 && binaryNumber(node).isWide) return static_cast<double>(bits);
  return number;
}

Value date(plist_t node) {
  return kEpoch + std::chrono::duration<double>(std::bit_cast<double>(binaryNumber(node).bits));
}

Value value(plist_t node);

Value array(plist_t node) {
  plist_array_iter raw = nullptr;
  libplist().array_new_iter(node, &raw);
  const FreedPointer<void> iterator(raw);
  Array elements;
  for (;;) {
    plist_t item = nullptr;
    libplist().array_next_item(node, iterator.get(), &item);
    if (item == nullptr) return elements;
    elements.push_back(value(item));
  }
}

Value dictionary(plist_t node) {
  plist_dict_iter raw = nullptr;
  libplist().dict_new_iter(node, &raw);
  const FreedPointer<void> iterator(raw);
  Dictionary entries;
  for (;;) {
    char* key = nullptr;
    plist_t item = nullptr;
    libplist().dict_next_item(node, iterator.get(), &key, &item);
    const FreedPointer<char> owner(key);
    if (item == nullptr) return entries;
    entries.insert_or_assign(text(key), value(item));
  }
}

Value value(plist_t node) {
  const auto& plist = libplist();
  std::uint64_t length = 0;
  switch (plist.get_node_type(node)) {
    case PLIST_BOOLEAN: {
      std::uint8_t flag = 0;
      plist.get_bool_val(node, &flag);
      return flag != 0;
    }
    case PLIST_UINT:
      return integer(node);
    case PLIST_UID: {
      std::uint64_t number = 0;
      plist.get_uid_val(node, &number);
      return static_cast<std::int64_t>(number);
    }
    case PLIST_REAL: {
      double number = 0;
      plist.get_real_val(node, &number);
      return number;
    }
    case PLIST_STRING: {
      const char* characters = plist.get_string_ptr(node, &length);
      return text({characters, length});
    }
    case PLIST_KEY: {
      char* raw = nullptr;
      plist.get_key_val(node, &raw);
      const FreedPointer<char> key(raw);
      return text(key.get());
    }
    case PLIST_DATE:
      return date(node);
    case PLIST_DATA: {
      const char* bytes = plist.get_data_ptr(node, &length);
      return Data(bytes, bytes + length);
    }
    case PLIST_ARRAY:
      return array(node);
    case PLIST_DICT:
      return dictionary(node);
    default:
      throw MalformedPropertyList("a value of a kind that property lists don't have");
  }
}

}  // namespace

Value parsePropertyList(std::string_view bytes) {
  if (bytes.size() > kLargestPropertyList) throw MalformedPropertyList("more than 8 MiB");
  checkPropertyListLimits(bytes);

  const auto& plist = libplist();
  const bool isBinary = bytes.starts_with(kBinaryPropertyListMagic);
  plist_t raw = nullptr;
  (isBinary ? plist.from_bin : plist.from_xml)(bytes.data(),
                                               static_cast<std::uint32_t>(bytes.size()), &raw);
  const std::unique_ptr<void, decltype(plist.free)> node(raw, plist.free);
  if (node == nullptr) {
    throw MalformedPropertyList(isBinary ? "no binary property list" : "no XML property list");
  }
  return value(node.get());
}

}  // namespace gatehall
