#include "portable/formats/PropertyListLimits.h"

#include <algorithm>
#include <cstdint>
#include <string>

#include "portable/formats/PropertyList.h"

namespace gatehall {

namespace {

constexpr int kDeepest = 100;
constexpr std::uint64_t kLargestUnfolded = std::uint64_t{64} << 20U;
/// About what a value takes in memory beside its text or bytes.
constexpr std::uint64_t kValueCost = 64;

[[noreturn]] void tooDeep(const std::string& where) {
  throw MalformedPropertyList(where + "more than " + std::to_string(kDeepest) +
                              " collections within one another");
}

/// Goes from tag to tag.
class XMLNesting {
 public:
  explicit XMLNesting(std::string_view text) : mText(text) {}

  void check() {
    for (mAt = mText.find('<'); mAt != std::string_view::npos; mAt = mText.find('<', mAt)) {
      if (startsWith("<?")) {
        skipPast("?>");
      } else if (startsWith("<!--")) {
        skipPast("-->");
      } else if (startsWith("<![CDATA[")) {
        skipPast("]]>");
      } else if (startsWith("<!")) {
        skipDeclaration();
      } else {
        tag();
      }
    }
  }

 private:
  bool startsWith(std::string_view start) const { return mText.substr(mAt).starts_with(start); }

  std::string line() const {
    const auto read = mText.substr(0, std::min(mAt, mText.size()));
    return "line " + std::to_string(std::count(read.begin(), read.end(), '\n') + 1) + ": ";
  }

  void moveTo(std::size_t found, std::size_t length, std::string_view missing) {
    if (found == std::string_view::npos) {
      throw MalformedPropertyList(line() + "no " + std::string(missing) + " up to the end");
    }
    mAt = found + length;
  }

  void skipPast(std::string_view end) { moveTo(mText.find(end, mAt + 2), end.size(), end); }

  void skipDeclaration() {
    const auto end = mText.find_first_of("[>", mAt);
    if (end != std::string_view::npos && mText[end] == '[') {
      moveTo(mText.find("]>", end), 2, "]>");
    } else {
      moveTo(end, 1, ">");
    }
  }

  void tag() {
    const auto nameEnd = mText.find_first_of(" \r\n\t<>", mAt + 1);
    const auto end = tagEnd(nameEnd);
    const auto name = mText.substr(mAt + 1, std::min(nameEnd, end) - mAt - 1);
    const bool empty = end != std::string_view::npos && mText[end - 1] == '/';
    if (!empty && (name == "array" || name == "dict") && ++mDepth > kDeepest) tooDeep(line());
    if (name == "/array" || name == "/dict") --mDepth;
    moveTo(end, 1, ">");
  }

  /// The ">" of the tag, which may also stand in the quoted value of an attribute.
  std::size_t tagEnd(std::size_t from) const {
    auto at = mText.find_first_of("\"'>", from);
    while (at != std::string_view::npos && mText[at] != '>') {
      at = mText.find(mText[at], at + 1);
      if (at != std::string_view::npos) at = mText.find_first_of("\"'>", at + 1);
    }
    return at;
  }

  std::string_view mText;
  std::size_t mAt = 0;
  int mDepth = 0;
};

/// The objects of a binary list, as far as they refer to each other. The format: a table of the
/// objects' offsets, found through the trailer; a marker byte in front of each object whose upper
/// half is its kind and whose lower half its count, 15 when an integer object with the count
/// follows.
class BinaryNesting {
 public:
  explicit BinaryNesting(std::string_view bytes) : mBytes(bytes) {
    constexpr std::size_t trailerLength = 32;
    if (bytes.size() < kBinaryPropertyListMagic.size() + trailerLength) damaged(0);
    const auto trailer = bytes.size() - trailerLength;
    mOffsetSize = number(trailer + 6, 1);
    mReferenceSize = number(trailer + 7, 1);
    mObjects = number(trailer + 8, 8);
    mRoot = number(trailer + 16, 8);
    mTable = number(trailer + 24, 8);
    const auto isSize = [](std::uint64_t size) { return size >= 1 && size <= 8; };
    if (!isSize(mOffsetSize) || !isSize(mReferenceSize) || mTable > trailer ||
        mObjects > (trailer - mTable) / mOffsetSize) {
      damaged(trailer);
    }
  }

  void check() { unfold(mRoot, 1); }

 private:
  [[noreturn]] static void damaged(std::uint64_t at) {
    throw MalformedPropertyList("byte " + std::to_string(at) + ": no binary property list");
  }

  std::uint64_t number(std::uint64_t at, std::uint64_t size) const {
    if (at > mBytes.size() || mBytes.size() - at < size) damaged(at);
    std::uint64_t value = 0;
    for (const char byte : mBytes.substr(at, size)) {
      value = value << 8U | static_cast<unsigned char>(byte);
    }
    return value;
  }

  struct Object {
    unsigned kind;
    std::uint64_t count;
    std::uint64_t content;
  };

  Object object(std::uint64_t index) const {
    if (index >= mObjects) damaged(mTable);
    const auto offset = number(mTable + index * mOffsetSize, mOffsetSize);
    const auto marker = static_cast<unsigned>(number(offset, 1));
    Object found{marker >> 4U, marker & 0xFU, offset + 1};
    const bool counted = found.kind == 4 || found.kind == 5 || found.kind == 6 || found.kind > 9;
    if (counted && found.count == 0xF) {
      const auto integer = number(found.content, 1);
      const auto size = std::uint64_t{1} << (integer & 0xFU);
      if (integer >> 4U != 1 || size > 8) damaged(found.content);
      found.count = number(found.content + 1, size);
      found.content += 1 + size;
    }
    // However long an element is, there are never more than there are bytes.
    if (counted && found.count > mBytes.size()) damaged(offset);
    return found;
  }

  /// Visits the object and all that it holds, an object that is held twice also twice.
  void unfold(std::uint64_t index, int depth) {
    const auto [kind, count, content] = object(index);
    const bool isText = kind >= 4 && kind <= 6;
    spend(kValueCost + (isText ? 2 * count : 0));
    const bool isDictionary = kind == 0xD;
    if (!isDictionary && kind != 0xA && kind != 0xC) return;
    // An object that holds itself comes here as well.
    if (depth > kDeepest) tooDeep("object " + std::to_string(index) + ": ");
    const auto references = isDictionary ? 2 * count : count;
    for (std::uint64_t reference = 0; reference < references; ++reference) {
      const auto held = number(content + reference * mReferenceSize, mReferenceSize);
      if (isDictionary && reference < count) checkKey(held);
      unfold(held, depth + 1);
    }
  }

  /// libplist ends the process over a key that goes on behind a NUL character.
  void checkKey(std::uint64_t index) const {
    const auto [kind, count, content] = object(index);
    const std::uint64_t unit = kind == 6 ? 2 : 1;
    if (kind != 5 && kind != 6) return;
    for (std::uint64_t at = 0; at < count; ++at) {
      if (number(content + at * unit, unit) == 0) {
        throw MalformedPropertyList("object " + std::to_string(index) +
                                    ": a key with a NUL character");
      }
    }
  }

  void spend(std::uint64_t cost) {
    mUnfolded += cost;
    if (mUnfolded > kLargestUnfolded) throw MalformedPropertyList("more than 64 MiB when unfolded");
  }

  std::string_view mBytes;
  std::uint64_t mOffsetSize = 0;
  std::uint64_t mReferenceSize = 0;
  std::uint64_t mObjects = 0;
  std::uint64_t mRoot = 0;
  std::uint64_t mTable = 0;
  std::uint64_t mUnfolded = 0;
};

}  // namespace

void checkPropertyListLimits(std::string_view bytes) {
  if (bytes.starts_with(kBinaryPropertyListMagic)) {
    BinaryNesting(bytes).check();
  } else {
    XMLNesting(bytes).check();
  }
}

}  // namespace gatehall
