#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace gatehall {

/// The messages of one language, as msgfmt(1) compiles them: an MO file, whose format the manual of
/// GNU gettext describes. Unlike gettext(3), which speaks one language a process, several may be
/// read side by side. May be read on any thread.
class MessageCatalogue {
 public:
  /// Without messages: everything is said as it is written in the source.
  MessageCatalogue() = default;

  /// Of the file's content, in either byte order. What lies outside of it is no message.
  explicit MessageCatalogue(std::string content);

  /// What the message is in the language, or the message itself where it has none. As long as both
  /// live.
  std::string_view translated(std::string_view message) const;

  bool isEmpty() const { return mCount == 0; }

 private:
  std::uint32_t numberAt(std::uint64_t place) const;
  std::string_view textAt(std::uint64_t table, std::uint32_t index) const;

  std::string mContent;
  bool mIsSwapped = false;
  std::uint32_t mCount = 0;
  std::uint32_t mMessages = 0;      ///< where their table stands: lengths and places
  std::uint32_t mTranslations = 0;  ///< where the table of their translations does
};

/// The folder of the machine's catalogues.
inline constexpr std::string_view kCatalogues = "/usr/share/locale";

/// The catalogue for that locale's name ("de_AT.UTF-8", "ca_ES@valencia"), whether or not the
/// machine has the locale: of that territory, or else of the language. One without messages when
/// there is none, and for a text that names no locale.
MessageCatalogue catalogueFor(std::string_view localeName, std::string_view domain,
                              std::string_view folder = kCatalogues);

}  // namespace gatehall
