#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <string>

#include "portable/formats/XmlReader.h"

namespace gatehall {
namespace {

std::string repeated(std::string_view text, std::size_t times) {
  std::string result;
  for (; times > 0; --times) result += text;
  return result;
}

TEST(XmlReader, ReadsElementsInDocumentOrderWithTheirTexts) {
  const auto root =
      readXML("<?xml version=\"1.0\"?>\n<r>\n<b>2 &lt; &#51;</b><a/><x:b>é</x:b></r>");
  ASSERT_TRUE(root);
  EXPECT_EQ(root->name, "r");
  EXPECT_EQ(root->text, std::nullopt);
  ASSERT_EQ(root->children.size(), 3U);
  EXPECT_EQ(root->children[0].name, "b");
  EXPECT_EQ(root->children[0].text, "2 < 3");
  EXPECT_EQ(root->children[1].text, "");
  EXPECT_EQ(root->children[2].name, "x:b");
  EXPECT_EQ(root->children[2].text, "é");
}

TEST(XmlReader, NamesAnElementAsItIsWrittenInANamespace) {
  EXPECT_EQ(readXML("<x:a xmlns:x=\"urn:x\"/>")->name, "x:a");
  EXPECT_EQ(readXML("<a xmlns=\"urn:x\"/>")->name, "a");
}

TEST(XmlReader, PassesOverCommentsAndInstructionsWithinAText) {
  EXPECT_EQ(readXML("<a>one<!-- two --><?three?>, <![CDATA[<four>]]></a>")->text, "one, <four>");
}

TEST(XmlReader, HasNoDocumentOfWhatIsNotWellFormed) {
  for (const auto* text : {"", " ", "text", "<a>", "<a></b>", "<a/><b/>", "<a b=c/>", "<a>&x;</a>",
                           "<a>\xFF</a>", "<a>\x01</a>"}) {
    EXPECT_FALSE(readXML(text)) << text;
  }
  EXPECT_FALSE(readXML(std::string_view("<a>\0</a>", 8)));
}

TEST(XmlReader, HasNoTextOfWhatAnEntityOfTheDocumentStandsFor) {
  const auto root = readXML(R"(<!DOCTYPE r [<!ENTITY u "text">]><r><a>&u;</a><b>own</b></r>)");
  ASSERT_TRUE(root);
  EXPECT_EQ(root->children[0].text, std::nullopt);
  EXPECT_EQ(root->children[1].text, "own");
}

TEST(XmlReader, ReadsNoOtherFile) {
  const std::string path = ::testing::TempDir() + "gatehall-external.dtd";
  std::ofstream(path) << "<!ENTITY u \"text\"><!ATTLIST r a CDATA \"text\">";
  for (const auto& declaration :
       {"<!DOCTYPE r SYSTEM \"" + path + "\"><r>&u;</r>",
        "<!DOCTYPE r [<!ENTITY u SYSTEM \"" + path + "\">]><r>&u;</r>",
        "<!DOCTYPE r [<!ENTITY % p SYSTEM \"" + path + "\"> %p;]><r>&u;</r>"}) {
    const auto root = readXML(declaration);
    EXPECT_TRUE(!root || !root->text) << declaration;
  }
  EXPECT_TRUE(readXML("<!DOCTYPE r SYSTEM \"" + path + "\"><r/>"));
  EXPECT_EQ(std::remove(path.c_str()), 0);
}

TEST(XmlReader, HasNoDocumentBeyondItsSize) {
  const auto sized = [](std::size_t size) {
    return "<a>" + std::string(size - std::string("<a></a>").size(), 'x') + "</a>";
  };
  EXPECT_TRUE(readXML(sized(16 * 1024)));
  EXPECT_FALSE(readXML(sized(16 * 1024 + 1)));
  EXPECT_FALSE(readXML(sized(1024 * 1024)));
}

TEST(XmlReader, HasNoDocumentBeyondItsDepth) {
  EXPECT_TRUE(readXML(repeated("<a>", 32) + repeated("</a>", 32)));
  EXPECT_FALSE(readXML(repeated("<a>", 33) + repeated("</a>", 33)));
  EXPECT_FALSE(readXML(repeated("<a>", 1'000'000) + repeated("</a>", 1'000'000)));
  EXPECT_FALSE(readXML(repeated("<a>", 5000)));
}

TEST(XmlReader, IsNotBlownUpByEntitiesWithinEntities) {
  std::string text = "<!DOCTYPE r [<!ENTITY e0 \"lol\">";
  for (int level = 1; level < 40; ++level) {
    const auto inner = "&e" + std::to_string(level - 1) + ";";
    text += "<!ENTITY e" + std::to_string(level) + " \"" + repeated(inner, 10) + "\">";
  }
  const auto root = readXML(text + "]><r>&e39;</r>");
  EXPECT_TRUE(!root || !root->text);
}

}  // namespace
}  // namespace gatehall
