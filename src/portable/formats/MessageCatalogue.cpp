#include "portable/formats/MessageCatalogue.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "base/Ascii.h"

namespace gatehall {

namespace {

constexpr std::uint32_t kMagic = 0x950412de;
constexpr std::uint32_t kSwappedMagic = 0xde120495;

// Of the header's numbers, and of a table's entries.
constexpr std::uint64_t kCountPlace = 8;
constexpr std::uint64_t kMessagesPlace = 12;
constexpr std::uint64_t kTranslationsPlace = 16;
constexpr std::uint64_t kEntrySize = 8;

constexpr std::size_t kLongestFile = 1 << 20;
constexpr std::size_t kLongestName = 64;

std::uint32_t swapped(std::uint32_t number) {
  return number >> 24 | (number >> 8 & 0xff00) | (number << 8 & 0xff0000) | number << 24;
}

/// Absent when there is no such file that can be read whole.
std::optional<std::string> contentOf(const std::string& path) {
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (file < 0) return std::nullopt;
  std::optional<std::string> content;
  struct stat status {};
  if (fstat(file, &status) == 0 && S_ISREG(status.st_mode)) {
    content.emplace();
    std::array<char, 16384> part{};
    while (content) {
      const auto count = read(file, part.data(), part.size());
      if (count == 0) break;
      if (count < 0 && errno == EINTR) continue;
      if (count > 0) content->append(part.data(), static_cast<std::size_t>(count));
      if (count < 0 || content->size() > kLongestFile) content.reset();
    }
  }
  close(file);
  return content;
}

/// Nothing that could be a path.
bool canBeALocale(std::string_view name) {
  return !name.empty() && name.size() <= kLongestName && std::ranges::all_of(name, [](char each) {
    return ascii::isAlphanumeric(each) || each == '_' || each == '-' || each == '.' || each == '@';
  });
}

}  // namespace

MessageCatalogue::MessageCatalogue(std::string content) : mContent(std::move(content)) {
  if (mContent.size() < kTranslationsPlace + sizeof(std::uint32_t)) return;
  const auto magic = numberAt(0);
  if (magic != kMagic && magic != kSwappedMagic) return;
  mIsSwapped = magic == kSwappedMagic;
  mMessages = numberAt(kMessagesPlace);
  mTranslations = numberAt(kTranslationsPlace);
  const auto count = numberAt(kCountPlace);
  const auto size = std::uint64_t{count} * kEntrySize;
  if (mMessages + size <= mContent.size() && mTranslations + size <= mContent.size()) {
    mCount = count;
  }
}

std::string_view MessageCatalogue::translated(std::string_view message) const {
  if (message.empty()) return message;  // what stands there describes the catalogue
  // They stand in the order of their bytes.
  std::uint32_t first = 0;
  for (auto count = mCount; count > 0;) {
    const auto half = count / 2;
    const auto order = textAt(mMessages, first + half).compare(message);
    if (order == 0) {
      const auto text = textAt(mTranslations, first + half);
      return text.empty() ? message : text;
    }
    if (order < 0) {
      first += half + 1;
      count -= half + 1;
    } else {
      count = half;
    }
  }
  return message;
}

std::uint32_t MessageCatalogue::numberAt(std::uint64_t place) const {
  std::uint32_t number = 0;
  std::memcpy(&number, mContent.data() + place, sizeof number);
  return mIsSwapped ? swapped(number) : number;
}

std::string_view MessageCatalogue::textAt(std::uint64_t table, std::uint32_t index) const {
  const auto entry = table + index * kEntrySize;
  const std::uint64_t length = numberAt(entry);
  const std::uint64_t place = numberAt(entry + sizeof(std::uint32_t));
  if (place + length > mContent.size()) return {};
  return std::string_view(mContent).substr(place, length);
}

MessageCatalogue catalogueFor(std::string_view localeName, std::string_view domain,
                              std::string_view folder) {
  if (!canBeALocale(localeName)) return {};
  const auto modifier = localeName.substr(std::min(localeName.find('@'), localeName.size()));
  const auto name =
      localeName.substr(0, std::min(localeName.find_first_of(".@"), localeName.size()));
  const auto language = name.substr(0, std::min(name.find('_'), name.size()));
  for (const auto which : {name, language}) {
    for (const auto variant : {modifier, std::string_view()}) {
      std::string path(folder);
      path.append("/").append(which).append(variant).append("/LC_MESSAGES/");
      path.append(domain).append(".mo");
      if (auto content = contentOf(path)) return MessageCatalogue(std::move(*content));
    }
  }
  return {};
}

}  // namespace gatehall
