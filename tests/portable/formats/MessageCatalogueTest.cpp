#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <utility>
#include <vector>

#include "portable/formats/MessageCatalogue.h"

namespace gatehall {
namespace {

using Messages = std::vector<std::pair<std::string, std::string>>;

/// A number of four bytes, the lowest or the highest first.
std::string number(std::uint32_t value, bool isHighestFirst) {
  std::string bytes;
  for (unsigned index = 0; index < 4; ++index) {
    const auto shift = 8 * (isHighestFirst ? 3 - index : index);
    bytes += static_cast<char>(value >> shift & 0xff);
  }
  return bytes;
}

/// An MO file of messages that stand in their order.
std::string file(const Messages& messages, bool isHighestFirst = false) {
  const auto put = [&](std::size_t value) {
    return number(static_cast<std::uint32_t>(value), isHighestFirst);
  };
  const auto count = messages.size();
  constexpr std::size_t kHeader = 28;
  std::string tables[2];
  std::string texts;
  for (std::size_t table = 0; table < 2; ++table) {
    for (const auto& [message, translation] : messages) {
      const auto& text = table == 0 ? message : translation;
      tables[table] += put(text.size()) + put(kHeader + 16 * count + texts.size());
      texts += text + '\0';
    }
  }
  return put(0x950412de) + put(0) + put(count) + put(kHeader) + put(kHeader + 8 * count) + put(0) +
         put(0) + tables[0] + tables[1] + texts;
}

const Messages kThree{{"", "Language: de\n"}, {"Bye", "Servus"}, {"Hello", "Guten Tag"}};

TEST(MessageCatalogue, TranslatesWhatItHasAndLeavesTheRestAsItIs) {
  for (const bool isHighestFirst : {false, true}) {
    const MessageCatalogue german(file(kThree, isHighestFirst));
    EXPECT_EQ(german.translated("Bye"), "Servus");
    EXPECT_EQ(german.translated("Hello"), "Guten Tag");
    for (const auto* other : {"Hell", "Hello!", "A", "Z", ""}) {
      EXPECT_EQ(german.translated(other), other);
    }
  }
  EXPECT_EQ(MessageCatalogue().translated("Hello"), "Hello");
}

TEST(MessageCatalogue, LeavesAMessageAsItIsWhoseTranslationIsEmpty) {
  EXPECT_EQ(MessageCatalogue(file({{"Hello", ""}})).translated("Hello"), "Hello");
}

TEST(MessageCatalogue, OfAFileThatIsCutOffOrIsNoneHasNoMessages) {
  const auto whole = file(kThree);
  for (std::size_t size = 0; size < whole.size() - 1; ++size) {
    const MessageCatalogue cut(whole.substr(0, size));
    const auto hello = cut.translated("Hello");
    EXPECT_TRUE(hello == "Hello" || hello == "Guten Tag") << size;
  }
  EXPECT_EQ(MessageCatalogue("#!" + whole).translated("Hello"), "Hello");
  // Four thousand million messages.
  auto many = whole;
  many.replace(8, 4, "\xff\xff\xff\xff");
  EXPECT_EQ(MessageCatalogue(many).translated("Hello"), "Hello");
  // A text that begins behind the end.
  auto behind = whole;
  behind.replace(28 + 3 * 8 + 2 * 8 + 4, 4, "\xff\xff\xff\xff");
  EXPECT_EQ(MessageCatalogue(behind).translated("Hello"), "Hello");
}

class Catalogues : public testing::Test {
 protected:
  Catalogues() {
    auto name = (std::filesystem::temp_directory_path() / "catalogues-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
    folder = name;
  }
  ~Catalogues() override { std::filesystem::remove_all(folder); }

  std::string pathFor(const std::string& locale) const {
    const auto place = folder / locale / "LC_MESSAGES";
    std::filesystem::create_directories(place);
    return place / "home.mo";
  }

  void write(const std::string& locale, const std::string& hello) const {
    std::ofstream(pathFor(locale)) << file({{"Hello", hello}});
  }

  std::string hello(const std::string& locale) const {
    return std::string(catalogueFor(locale, "home", folder.string()).translated("Hello"));
  }

  std::filesystem::path folder;
};

TEST_F(Catalogues, AreThoseOfTheTerritoryOrElseOfTheLanguage) {
  write("de", "Guten Tag");
  write("de_AT", "Servus");
  write("zh_CN", "你好");
  write("ca", "Bon dia");
  write("ca@valencia", "Bon dia de València");
  EXPECT_EQ(hello("de_AT.UTF-8"), "Servus");
  EXPECT_EQ(hello("de_CH.UTF-8"), "Guten Tag");
  EXPECT_EQ(hello("de"), "Guten Tag");
  EXPECT_EQ(hello("de_CH@euro"), "Guten Tag");
  EXPECT_EQ(hello("ca_ES.UTF-8@valencia"), "Bon dia de València");
  EXPECT_EQ(hello("ca_ES.UTF-8"), "Bon dia");
  EXPECT_EQ(hello("zh_TW"), "Hello");
  for (const auto* none : {"C", "POSIX", "C.UTF-8", "", "fr_FR.UTF-8"}) {
    EXPECT_EQ(hello(none), "Hello") << none;
  }
}

TEST_F(Catalogues, AreReadInTheFolderAndNowhereElse) {
  write("de", "Guten Tag");
  const auto outside = "../" + folder.filename().string() + "/de";
  EXPECT_EQ(hello(outside), "Hello");
  EXPECT_EQ(hello(std::string("de\0", 3)), "Hello");
  EXPECT_EQ(hello("de@" + std::string(62, 'x')), "Hello") << "longer than any name";
}

TEST_F(Catalogues, ThatArePipesAreNotWaitedFor) {
  ASSERT_EQ(mkfifo(pathFor("de").c_str(), 0600), 0);
  EXPECT_EQ(hello("de"), "Hello");
}

}  // namespace
}  // namespace gatehall
