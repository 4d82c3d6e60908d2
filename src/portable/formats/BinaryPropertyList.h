#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace gatehall {

/// The first bytes of a binary property list.
inline constexpr std::string_view kBinaryPropertyListMagic = "bplist00";

/// The objects of a binary property list, where they stand. The format: a table of the objects'
/// offsets, found through the trailer; a marker byte in front of each object whose upper half is
/// its kind and whose lower half its count, 15 when an integer object with the count follows.
/// Nothing is read beyond the bytes; what can't be read raises MalformedPropertyList.
class BinaryPropertyList {
 public:
  static constexpr std::size_t kTrailerLength = 32;

  struct Object {
    static constexpr unsigned kConstant = 0, kInteger = 1, kReal = 2, kDate = 3, kData = 4,
                              kASCII = 5, kUTF16 = 6, kArray = 0xA, kSet = 0xC, kDictionary = 0xD;
    unsigned kind;
    std::uint64_t count;    ///< of bytes, characters, elements or entries; else the lower half
    std::uint64_t offset;   ///< of the marker
    std::uint64_t content;  ///< offset of what is behind marker and count
  };

  /// The bytes have to stay.
  explicit BinaryPropertyList(std::string_view bytes);

  std::uint64_t objects() const { return mObjects; }
  std::uint64_t root() const { return mRoot; }
  /// Where the table of offsets begins and ends.
  std::uint64_t table() const { return mTable; }
  std::uint64_t tableEnd() const { return mTable + mObjects * mOffsetSize; }
  /// Where the trailer begins.
  std::uint64_t trailer() const { return mBytes.size() - kTrailerLength; }
  std::uint64_t referenceSize() const { return mReferenceSize; }

  Object object(std::uint64_t index) const;

  /// The index of the object that a collection holds in that place. A dictionary's keys come before
  /// its values.
  std::uint64_t reference(const Object& collection, std::uint64_t place) const;

  /// The characters of a text.
  std::u16string text(const Object& object) const;

  /// The unsigned number in so many bytes.
  std::uint64_t number(std::uint64_t at, std::uint64_t size) const;

  [[noreturn]] static void damaged(std::uint64_t at);

 private:
  std::string_view mBytes;
  std::uint64_t mOffsetSize = 0;
  std::uint64_t mReferenceSize = 0;
  std::uint64_t mObjects = 0;
  std::uint64_t mRoot = 0;
  std::uint64_t mTable = 0;
};

}  // namespace gatehall
