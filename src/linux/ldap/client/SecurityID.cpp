#include "linux/ldap/client/SecurityID.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstddef>
#include <cstdint>

#include "linux/records/AccountID.h"

namespace gatehall::ldap::securityID {

namespace {

// One byte each for the revision and the count of numbers, six for the authority, highest first,
// and four for each number, lowest first.
constexpr std::size_t kHead = 8;
constexpr std::size_t kNumber = 4;
constexpr std::size_t kMostNumbers = 15;

std::uint64_t byteAt(std::string_view bytes, std::size_t index) {
  return static_cast<unsigned char>(bytes[index]);
}

/// Reads the number in front, and takes it and the hyphen behind it away.
std::uint64_t takeNumber(std::string_view& text) {
  std::uint64_t number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  const auto hyphen = text.find('-');
  text.remove_prefix(hyphen == std::string_view::npos ? text.size() : hyphen + 1);
  return number;
}

// What SSSD maps to unless it is told otherwise (sssd-ldap(5): ldap_idmap_range_min, _max, _size).
constexpr std::uint32_t kFirstMapped = 200000;
constexpr std::uint32_t kBehindMapped = 2000200000;
constexpr std::uint32_t kMappedOfDomain = 200000;
constexpr std::uint32_t kHashSeed = 0xdeadbeef;

/// MurmurHash3, of 32 bits.
std::uint32_t hashOf(std::string_view text) {
  constexpr std::size_t kBlock = 4;
  const auto mixed = [](std::uint32_t block) {
    return std::rotl(block * 0xcc9e2d51U, 15) * 0x1b873593U;
  };
  std::uint32_t hash = kHashSeed;
  const auto length = static_cast<std::uint32_t>(text.size());
  while (!text.empty()) {
    const auto size = std::min(text.size(), kBlock);
    std::uint32_t block = 0;
    for (std::size_t index = size; index > 0; --index) {
      block = block << 8U | static_cast<std::uint32_t>(byteAt(text, index - 1));
    }
    text.remove_prefix(size);
    hash ^= mixed(block);
    if (size == kBlock) hash = std::rotl(hash, 13) * 5 + 0xe6546b64U;
  }
  hash ^= length;
  hash = (hash ^ hash >> 16U) * 0x85ebca6bU;
  hash = (hash ^ hash >> 13U) * 0xc2b2ae35U;
  return hash ^ hash >> 16U;
}

/// The id that is mapped to the number 0 of a domain.
std::uint32_t firstMappedOf(std::string_view domain) {
  constexpr auto kDomains = (kBehindMapped - kFirstMapped) / kMappedOfDomain;
  return kFirstMapped + hashOf(domain) % kDomains * kMappedOfDomain;
}

}  // namespace

std::optional<std::string> text(std::string_view bytes) {
  if (bytes.size() <= kHead || byteAt(bytes, 0) != 1) return std::nullopt;
  const auto count = byteAt(bytes, 1);
  if (count > kMostNumbers || bytes.size() != kHead + count * kNumber) return std::nullopt;
  std::uint64_t authority = 0;
  for (std::size_t index = 2; index < kHead; ++index) {
    authority = authority << 8U | byteAt(bytes, index);
  }
  std::string text = "S-1-" + std::to_string(authority);
  for (std::size_t at = kHead; at < bytes.size(); at += kNumber) {
    std::uint64_t number = 0;
    for (std::size_t index = kNumber; index > 0; --index) {
      number = number << 8U | byteAt(bytes, at + index - 1);
    }
    text += "-" + std::to_string(number);
  }
  return text;
}

std::string bytes(std::string_view text) {
  text.remove_prefix(std::string_view("S-1-").size());
  const auto authority = takeNumber(text);
  std::string head(2, '\1');
  for (unsigned shift = 48; shift > 0; shift -= 8) {
    head += static_cast<char>(authority >> (shift - 8) & 0xFFU);
  }
  std::string numbers;
  while (!text.empty()) {
    const auto number = takeNumber(text);
    for (unsigned shift = 0; shift < 32; shift += 8) {
      numbers += static_cast<char>(number >> shift & 0xFFU);
    }
  }
  head[1] = static_cast<char>(numbers.size() / kNumber);
  return head + numbers;
}

std::string_view number(std::string_view text) { return text.substr(text.rfind('-') + 1); }

std::string withNumber(std::string_view text, std::string_view number) {
  std::string other(text.substr(0, text.rfind('-') + 1));
  other += number;
  return other;
}

bool isDomain(std::string_view text) {
  return text.starts_with("S-1-5-21-") && std::ranges::count(text, '-') == 6;
}

std::string_view domain(std::string_view text) {
  const auto above = text.substr(0, std::min(text.rfind('-'), text.size()));
  return isDomain(above) ? above : std::string_view();
}

std::optional<std::uint32_t> mappedID(std::string_view text) {
  const auto ofDomain = domain(text);
  const auto last = accountID(number(text));
  if (ofDomain.empty() || !last || *last >= kMappedOfDomain) return std::nullopt;
  return firstMappedOf(ofDomain) + *last;
}

std::optional<std::string> withMappedID(std::string_view domain, std::uint32_t id) {
  const auto first = firstMappedOf(domain);
  if (id < first || id - first >= kMappedOfDomain) return std::nullopt;
  return std::string(domain) + "-" + std::to_string(id - first);
}

}  // namespace gatehall::ldap::securityID
