#include <chrono>
#include <gtest/gtest.h>
#include <limits>
#include <string>

#include "portable/formats/PropertyList.h"
#include "portable/formats/PropertyListGrammar.h"
#include "portable/formats/PropertyListWriter.h"

namespace gatehall {
namespace {

using namespace std::chrono_literals;

/// The same value is read from what is written of it, which is a property list to the letter.
void expectReadAsWritten(const Value& value) {
  const auto text = propertyListText(value);
  EXPECT_NO_THROW(checkPropertyListGrammar(text)) << text;
  EXPECT_EQ(parsePropertyList(text), value) << text;
}

TEST(PropertyListWriter, WritesWhatIsReadBack) {
  const Date date{std::chrono::sys_days{std::chrono::year{2026} / 11 / 22} + 11h + 7min + 5s};
  expectReadAsWritten(Dictionary());
  expectReadAsWritten(Dictionary{{"empty", Array()}, {"within", Dictionary{{"a", Dictionary()}}}});
  expectReadAsWritten(
      Dictionary{{"array", Array{"*", Array{"b", 1}, Dictionary{{"c", false}}}},
                 {"boolean", true},
                 {"data", Data{0, 1, 254, 255}},
                 {"date", date},
                 {"integer", std::numeric_limits<std::int64_t>::min()},
                 {"largest", std::numeric_limits<std::int64_t>::max()},
                 {"real", 0.1},
                 {"small", 1e-300},
                 {"text", "<a> & \"b\" 'c' ]]> --  d\n\tZo\xC3\xAB \xF0\x9F\x98\x80"},
                 {"no text", ""}});
  for (std::size_t length = 0; length < 7; ++length) {
    expectReadAsWritten(Dictionary{{"data", Data(length, 0xA5)}});
  }
}

TEST(PropertyListWriter, IndentsWhatIsWithin) {
  EXPECT_EQ(propertyListText(Dictionary{{"DenyList", Array{"*"}}, {"Hide500Users", true}}),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<plist version=\"1.0\">\n"
            "<dict>\n"
            "  <key>DenyList</key>\n"
            "  <array>\n"
            "    <string>*</string>\n"
            "  </array>\n"
            "  <key>Hide500Users</key>\n"
            "  <true/>\n"
            "</dict>\n"
            "</plist>\n");
  EXPECT_EQ(propertyListElement(Array{"a"}, "  "), "<array>\n    <string>a</string>\n  </array>");
}

TEST(PropertyListWriter, RefusesWhatAListCanNotHold) {
  for (const auto& value :
       {Value("\x01"), Value("\x7F"), Value("a\rb"), Value("\xFF"),
        Value(std::numeric_limits<double>::infinity()),
        Value(std::numeric_limits<double>::quiet_NaN()),
        Value(Date{std::chrono::sys_days{std::chrono::year{10000} / 1 / 1}}), Value(Date(-1e15s)),
        Value(Dictionary{{"", 1}}), Value(Dictionary{{"a&b", 1}}), Value(Array{"\xC0\x80"})}) {
    EXPECT_THROW(propertyListText(value), MalformedPropertyList) << value.description();
  }
}

}  // namespace
}  // namespace gatehall
