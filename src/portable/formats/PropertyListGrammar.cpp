#include "portable/formats/PropertyListGrammar.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <set>
#include <utility>
#include <vector>

#include "base/Ascii.h"
#include "portable/formats/BinaryPropertyList.h"
#include "portable/formats/PropertyList.h"
#include "portable/text/Utf8.h"

namespace gatehall {

namespace {

constexpr int kDeepest = 100;
constexpr std::string_view kBlank = " \t\r\n";

bool isDigits(std::string_view text) { return ascii::isNumber(text); }

bool isInteger(std::string_view text) {
  const auto digits = text.substr(text.starts_with('-') ? 1 : 0);
  if (!isDigits(digits)) return false;
  const auto fits = [&](auto number) {
    const auto* end = text.data() + text.size();
    return std::from_chars(text.data(), end, number).ec == std::errc();
  };
  return fits(std::int64_t()) || (digits.size() == text.size() && fits(std::uint64_t()));
}

/// Takes a sign off the front.
std::string_view unsignedPart(std::string_view text) {
  return text.substr(text.starts_with('-') || text.starts_with('+') ? 1 : 0);
}

bool isReal(std::string_view text) {
  const auto exponent = text.find_first_of("eE");
  if (exponent != std::string_view::npos && !isDigits(unsignedPart(text.substr(exponent + 1)))) {
    return false;
  }
  const auto mantissa = unsignedPart(text.substr(0, exponent));
  const auto point = mantissa.find('.');
  return isDigits(mantissa.substr(0, point)) &&
         (point == std::string_view::npos || isDigits(mantissa.substr(point + 1)));
}

bool isDate(std::string_view text) {
  constexpr std::string_view kForm = "0000-00-00T00:00:00Z";
  return std::equal(text.begin(), text.end(), kForm.begin(), kForm.end(),
                    [](char c, char form) { return form == '0' ? ascii::isDigit(c) : c == form; });
}

bool isBase64(std::string_view text) {
  std::size_t digits = 0;
  std::size_t fill = 0;
  for (const char c : text) {
    if (kBlank.find(c) != std::string_view::npos) continue;
    ++digits;
    if (c == '=') {
      ++fill;
    } else if (fill > 0 || (!ascii::isAlphanumeric(c) && c != '+' && c != '/')) {
      return false;
    }
  }
  return digits % 4 == 0 && fill <= 2;
}

/// Whether that is "#" and the number of a character that text can have.
bool isCharacterNumber(std::string_view text) {
  if (!text.starts_with('#')) return false;
  const bool isHexadecimal = text.starts_with("#x");
  const auto digits = text.substr(isHexadecimal ? 2 : 1);
  std::uint32_t number = 0;
  const auto* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number, isHexadecimal ? 16 : 10);
  return error == std::errc() && stop == end && number >= ' ' && number <= 0x10FFFF;
}

/// Text of which every & begins an entity of XML's own or a character by its number.
bool isText(std::string_view text) {
  constexpr std::array<std::string_view, 5> kEntities{"lt", "gt", "amp", "quot", "apos"};
  for (auto at = text.find_first_of("&>"); at != std::string_view::npos;
       at = text.find_first_of("&>", at + 1)) {
    const auto end = text.find(';', at);
    const auto name = text.substr(at + 1, end - at - 1);
    const bool isNamed = std::ranges::find(kEntities, name) != kEntities.end();
    if (text[at] == '>' || end == std::string_view::npos || !(isNamed || isCharacterNumber(name))) {
      return false;
    }
  }
  return true;
}

struct Leaf {
  std::string_view name;
  bool (*isContent)(std::string_view text);
};
constexpr std::array<Leaf, 5> kLeaves{{{"string", isText},
                                       {"integer", isInteger},
                                       {"real", isReal},
                                       {"date", isDate},
                                       {"data", isBase64}}};

/// Goes through an XML list from its first byte to its last.
class XMLGrammar {
 public:
  explicit XMLGrammar(std::string_view text) : mText(text) {}

  PropertyListPlaces places() {
    check();
    if (mPlaces.dictionary.end == 0) throw MalformedPropertyList("it holds no dictionary");
    return std::move(mPlaces);
  }

  KeyLines check() {
    if (!isUtf8(mText)) fail("text that is not UTF-8");
    const auto isControl = [](char c) {
      return (c >= 0 && c < ' ' && kBlank.find(c) == std::string_view::npos) || c == '\x7F';
    };
    const auto* control = std::ranges::find_if(mText, isControl);
    if (control != mText.end()) {
      mAt = static_cast<std::size_t>(control - mText.begin());
      fail("a control character");
    }
    if (takes("<?xml")) restOfXMLDeclaration();
    between();
    if (takes("<!DOCTYPE")) restOfDocumentType();
    between();
    if (!takes("<plist")) fail("no <plist> where it belongs");
    if (takesBlank()) attribute("version", {"1.0"});
    expect(">");
    between();
    mPlaces.dictionary.begin = mAt;
    const bool isDictionary = mText.substr(mAt).starts_with("<dict");
    value(1);
    if (isDictionary) mPlaces.dictionary.end = mAt;
    between();
    expect("</plist>");
    between();
    if (mAt != mText.size()) fail("something behind </plist>");
    return std::move(mLines);
  }

 private:
  std::size_t line() const {
    const auto read = mText.substr(0, std::min(mAt, mText.size()));
    return lineAfter(read);
  }

  /// Goes on counting where it ended before: lines are asked for in order.
  std::size_t lineAfter(std::string_view read) const {
    const auto unread = read.substr(std::min(mCounted, read.size()));
    mLine += static_cast<std::size_t>(std::count(unread.begin(), unread.end(), '\n'));
    mCounted = std::max(mCounted, read.size());
    return mLine;
  }

  [[noreturn]] void fail(const std::string& what) const {
    throw MalformedPropertyList("line " + std::to_string(line()) + ": " + what);
  }

  bool takes(std::string_view text) {
    if (!mText.substr(mAt).starts_with(text)) return false;
    mAt += text.size();
    return true;
  }

  void expect(std::string_view text) {
    if (!takes(text)) fail("no " + std::string(text) + " where it belongs");
  }

  bool takesBlank() {
    const auto end = std::min(mText.find_first_not_of(kBlank, mAt), mText.size());
    return std::exchange(mAt, end) != end;
  }

  /// White space and comments.
  void between() {
    while (takesBlank() || takes("<!--")) {
      if (!mText.substr(0, mAt).ends_with("<!--")) continue;
      if (mText.substr(mAt).starts_with(">") || mText.substr(mAt).starts_with("->")) {
        fail("a comment without an end");
      }
      const auto end = mText.find("--", mAt);
      if (end == std::string_view::npos) fail("a comment without an end");
      mAt = end + 2;
      // As XML has it: the comment whose end is damaged would else go on up to the next one's.
      if (!takes(">")) fail("-- within a comment");
    }
  }

  std::string_view quoted() {
    const char quote = mAt < mText.size() ? mText[mAt] : ' ';
    if (quote != '"' && quote != '\'') fail("no quoted text where it belongs");
    const auto end = mText.find(quote, mAt + 1);
    const auto text = mText.substr(mAt + 1, end - mAt - 1);
    if (end == std::string_view::npos || text.find_first_of("<>[]") != std::string_view::npos) {
      fail("a quoted text without an end");
    }
    mAt = end + 1;
    return text;
  }

  void attribute(std::string_view name, std::initializer_list<std::string_view> allowed) {
    expect(name);
    expect("=");
    const auto value = quoted();
    const auto isValue = [&](std::string_view each) { return ascii::isSame(each, value); };
    if (std::none_of(allowed.begin(), allowed.end(), isValue)) {
      fail(std::string(name) + " is none that is known");
    }
  }

  void restOfXMLDeclaration() {
    if (!takesBlank()) fail("no version where it belongs");
    attribute("version", {"1.0"});
    takesBlank();
    if (mText.substr(mAt).starts_with("encoding")) attribute("encoding", {"UTF-8"});
    takesBlank();
    if (mText.substr(mAt).starts_with("standalone")) attribute("standalone", {"yes", "no"});
    takesBlank();
    expect("?>");
  }

  void restOfDocumentType() {
    takesBlank();
    expect("plist");
    takesBlank();
    if (takes("PUBLIC")) {
      takesBlank();
      quoted();
    } else {
      expect("SYSTEM");
    }
    takesBlank();
    quoted();
    takesBlank();
    expect(">");
  }

  /// A tag of an element that has no content, or whose content begins.
  bool takesTag(std::string_view name, bool isEmpty) {
    const auto start = mAt;
    if (takes("<") && takes(name)) {
      if (isEmpty) takesBlank();
      if (takes(isEmpty ? "/>" : ">")) return true;
    }
    mAt = start;
    return false;
  }

  /// The text up to the element's end.
  std::string_view content(std::string_view name, bool (*isContent)(std::string_view)) {
    const auto text = mText.substr(mAt, mText.find('<', mAt) - mAt);
    if (!isContent(text)) fail("no content that <" + std::string(name) + "> can have");
    mAt += text.size();
    if (!takes("</") || !takes(name) || !takes(">")) {
      fail("no </" + std::string(name) + "> where it belongs");
    }
    return text;
  }

  void value(int depth) {
    if (depth > kDeepest) {
      fail("more than " + std::to_string(kDeepest) + " collections within one another");
    }
    for (const auto* name : {"true", "false", "array", "dict", "string", "data"}) {
      if (takesTag(name, true)) return;
    }
    for (const auto& leaf : kLeaves) {
      if (!takesTag(leaf.name, false)) continue;
      content(leaf.name, leaf.isContent);
      return;
    }
    if (takesTag("array", false)) return restOfArray(depth);
    if (takesTag("dict", false)) return restOfDictionary(depth);
    fail("no value where it belongs");
  }

  void restOfArray(int depth) {
    for (between(); !takes("</array>"); between()) {
      const auto begin = mAt;
      value(depth + 1);
      if (depth == 2) mElements.push_back({begin, mAt});
    }
  }

  void restOfDictionary(int depth) {
    const auto isKey = [](std::string_view text) {
      return !text.empty() && text.find_first_of("&>") == std::string_view::npos;
    };
    std::set<std::string_view> keys;
    for (between(); !takes("</dict>"); between()) {
      PropertyListPlaces::Entry entry{.key = {.begin = mAt}};
      if (!takesTag("key", false)) fail("no <key> where it belongs");
      const auto at = line();
      const auto key = content("key", isKey);
      if (!keys.insert(key).second) fail("the key \"" + quotable(key) + "\" a second time");
      if (depth == 1) mLines.emplace(key, at);
      entry.key.end = mAt;
      between();
      entry.value.begin = mAt;
      if (depth == 1) mElements.clear();
      value(depth + 1);
      if (depth > 1) continue;
      entry.value.end = mAt;
      entry.elements = std::move(mElements);
      mPlaces.entries.emplace(key, std::move(entry));
    }
  }

  static std::string quotable(std::string_view key) {
    std::string text(key.substr(0, 64));
    std::ranges::replace_if(
        text, [](char c) { return c < ' ' || c > '~'; }, '?');
    return text;
  }

  std::string_view mText;
  std::size_t mAt = 0;
  mutable std::size_t mLine = 1;
  mutable std::size_t mCounted = 0;
  KeyLines mLines;
  PropertyListPlaces mPlaces;
  std::vector<TextSpan> mElements;  ///< of the array that is an outermost key's value
};

/// Goes through the objects of a binary list in the order of its table.
class BinaryGrammar {
 public:
  explicit BinaryGrammar(std::string_view bytes)
      : mList(bytes), mIsUsed(static_cast<std::size_t>(mList.objects())) {}

  void check() {
    auto next = std::uint64_t{kBinaryPropertyListMagic.size()};
    use(mList.root());
    for (std::uint64_t index = 0; index < mList.objects(); ++index) {
      const auto object = mList.object(index);
      if (object.offset != next) mList.damaged(next);
      next = object.content + sizeOf(object);
      if (next > mList.table()) mList.damaged(object.offset);
      if (object.kind == Object::kArray) useAll(object, object.count);
      if (object.kind == Object::kDictionary) useEntries(object);
    }
    constexpr std::uint64_t kUnusedInTrailer = 6;
    if (next != mList.table() || mList.tableEnd() != mList.trailer() ||
        mList.number(mList.trailer(), kUnusedInTrailer) != 0) {
      mList.damaged(next);
    }
    const auto unused = std::ranges::find(mIsUsed, false);
    if (unused != mIsUsed.end()) {
      throw MalformedPropertyList("object " + std::to_string(unused - mIsUsed.begin()) +
                                  ": it belongs nowhere");
    }
  }

 private:
  using Object = BinaryPropertyList::Object;

  /// Of what is behind the marker and the count.
  std::uint64_t sizeOf(const Object& object) const {
    switch (object.kind) {
      case Object::kConstant:
        if (object.count == 8 || object.count == 9) return 0;  // false, true
        break;
      case Object::kInteger:
        if (object.count <= 4) return std::uint64_t{1} << object.count;
        break;
      case Object::kReal:
        if (object.count == 2 || object.count == 3) return std::uint64_t{1} << object.count;
        break;
      case Object::kDate:
        if (object.count == 3) return 8;
        break;
      case Object::kData:
      case Object::kASCII:
        return object.count;
      case Object::kUTF16:
        return 2 * object.count;
      case Object::kArray:
        return object.count * mList.referenceSize();
      case Object::kDictionary:
        return 2 * object.count * mList.referenceSize();
      default:
        break;
    }
    BinaryPropertyList::damaged(object.offset);
  }

  void use(std::uint64_t index) {
    if (index >= mIsUsed.size()) mList.damaged(mList.table());
    mIsUsed[static_cast<std::size_t>(index)] = true;
  }

  void useAll(const Object& object, std::uint64_t references) {
    for (std::uint64_t place = 0; place < references; ++place) use(mList.reference(object, place));
  }

  void useEntries(const Object& object) {
    useAll(object, 2 * object.count);
    std::set<std::u16string> keys;
    for (std::uint64_t place = 0; place < object.count; ++place) {
      const auto key = mList.object(mList.reference(object, place));
      constexpr std::uint64_t kLongestKey = 1024;
      const bool isText =
          (key.kind == Object::kASCII || key.kind == Object::kUTF16) && key.count <= kLongestKey;
      if (!isText || !keys.insert(mList.text(key)).second) {
        throw MalformedPropertyList("byte " + std::to_string(key.offset) +
                                    (isText ? ": a key a second time" : ": a key that is none"));
      }
    }
  }

  BinaryPropertyList mList;
  std::vector<bool> mIsUsed;
};

}  // namespace

PropertyListPlaces placesInPropertyList(std::string_view xml) {
  if (xml.size() > kLargestPropertyList) throw MalformedPropertyList("more than 8 MiB");
  return XMLGrammar(xml).places();
}

KeyLines checkPropertyListGrammar(std::string_view bytes) {
  if (bytes.size() > kLargestPropertyList) throw MalformedPropertyList("more than 8 MiB");
  if (!bytes.starts_with(kBinaryPropertyListMagic)) return XMLGrammar(bytes).check();
  BinaryGrammar(bytes).check();
  return {};
}

}  // namespace gatehall
