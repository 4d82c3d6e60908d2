#include "portable/formats/BinaryPropertyList.h"

#include "portable/formats/PropertyList.h"

namespace gatehall {

BinaryPropertyList::BinaryPropertyList(std::string_view bytes) : mBytes(bytes) {
  if (bytes.size() < kBinaryPropertyListMagic.size() + kTrailerLength) damaged(0);
  const auto at = trailer();
  mOffsetSize = number(at + 6, 1);
  mReferenceSize = number(at + 7, 1);
  mObjects = number(at + 8, 8);
  mRoot = number(at + 16, 8);
  mTable = number(at + 24, 8);
  const auto isSize = [](std::uint64_t size) { return size >= 1 && size <= 8; };
  if (!isSize(mOffsetSize) || !isSize(mReferenceSize) || mTable > at ||
      mObjects > (at - mTable) / mOffsetSize) {
    damaged(at);
  }
}

void BinaryPropertyList::damaged(std::uint64_t at) {
  throw MalformedPropertyList("byte " + std::to_string(at) + ": no binary property list");
}

std::uint64_t BinaryPropertyList::number(std::uint64_t at, std::uint64_t size) const {
  if (at > mBytes.size() || mBytes.size() - at < size) damaged(at);
  std::uint64_t value = 0;
  for (const char byte : mBytes.substr(at, size)) {
    value = value << 8U | static_cast<unsigned char>(byte);
  }
  return value;
}

BinaryPropertyList::Object BinaryPropertyList::object(std::uint64_t index) const {
  if (index >= mObjects) damaged(mTable);
  const auto offset = number(mTable + index * mOffsetSize, mOffsetSize);
  const auto marker = static_cast<unsigned>(number(offset, 1));
  Object found{marker >> 4U, marker & 0xFU, offset, offset + 1};
  const bool counted = found.kind == Object::kData || found.kind == Object::kASCII ||
                       found.kind == Object::kUTF16 || found.kind > 9;
  if (counted && found.count == 0xF) {
    const auto integer = number(found.content, 1);
    const auto size = std::uint64_t{1} << (integer & 0xFU);
    if (integer >> 4U != Object::kInteger || size > 8) damaged(found.content);
    found.count = number(found.content + 1, size);
    found.content += 1 + size;
  }
  // However long an element is, there are never more than there are bytes.
  if (counted && found.count > mBytes.size()) damaged(offset);
  return found;
}

std::uint64_t BinaryPropertyList::reference(const Object& collection, std::uint64_t place) const {
  return number(collection.content + place * mReferenceSize, mReferenceSize);
}

std::u16string BinaryPropertyList::text(const Object& object) const {
  const std::uint64_t unit = object.kind == Object::kUTF16 ? 2 : 1;
  std::u16string characters;
  for (std::uint64_t at = 0; at < object.count; ++at) {
    characters += static_cast<char16_t>(number(object.content + at * unit, unit));
  }
  return characters;
}

}  // namespace gatehall
