#include "portable/formats/PropertyListLimits.h"

#include <algorithm>
#include <cstdint>
#include <string>

#include "portable/formats/BinaryPropertyList.h"
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

/// The objects of a binary list, as far as they refer to each other.
class BinaryNesting {
 public:
  explicit BinaryNesting(std::string_view bytes) : mList(bytes) {}

  void check() { unfold(mList.root(), 1); }

 private:
  using Object = BinaryPropertyList::Object;

  /// Visits the object and all that it holds, an object that is held twice also twice.
  void unfold(std::uint64_t index, int depth) {
    const auto object = mList.object(index);
    const bool isText = object.kind >= 4 && object.kind <= 6;
    spend(kValueCost + (isText ? 2 * object.count : 0));
    const bool isDictionary = object.kind == Object::kDictionary;
    if (!isDictionary && object.kind != Object::kArray && object.kind != Object::kSet) return;
    // An object that holds itself comes here as well.
    if (depth > kDeepest) tooDeep("object " + std::to_string(index) + ": ");
    const auto references = isDictionary ? 2 * object.count : object.count;
    for (std::uint64_t reference = 0; reference < references; ++reference) {
      const auto held = mList.reference(object, reference);
      if (isDictionary && reference < object.count) checkKey(held);
      unfold(held, depth + 1);
    }
  }

  /// libplist ends the process over a key that goes on behind a NUL character.
  void checkKey(std::uint64_t index) const {
    const auto object = mList.object(index);
    if (object.kind != Object::kASCII && object.kind != Object::kUTF16) return;
    if (mList.text(object).find(u'\0') != std::u16string::npos) {
      throw MalformedPropertyList("object " + std::to_string(index) +
                                  ": a key with a NUL character");
    }
  }

  void spend(std::uint64_t cost) {
    mUnfolded += cost;
    if (mUnfolded > kLargestUnfolded) throw MalformedPropertyList("more than 64 MiB when unfolded");
  }

  BinaryPropertyList mList;
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
