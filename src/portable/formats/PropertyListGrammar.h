#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace gatehall {

/// The lines, from 1, of the keys of an XML property list's outermost dictionary. A binary list has
/// none.
using KeyLines = std::map<std::string, std::size_t, std::less<>>;

/// Requires that the bytes are a property list to the letter, before a library reads them that
/// makes something of almost any: nothing is missing, left over or written otherwise than writers
/// of property lists do, and no dictionary has a key twice. For files by which somebody is refused:
/// what damage left of one must not pass for another.
///
/// XML: elements and text as the format has them, in UTF-8; of entities and characters by number
/// only where text may stand; no CDATA, no processing instruction but the first line, no
/// declaration inside the document type. Binary: every byte belongs to one object, in the order of
/// the table, and every object is used.
///
/// Raises MalformedPropertyList, with the line or byte. In bounded time and memory.
KeyLines checkPropertyListGrammar(std::string_view bytes);

/// A part of a text: from one place up to another.
struct TextSpan {
  std::size_t begin = 0;
  std::size_t end = 0;
};

/// Where the parts of an XML property list stand that is a dictionary: elements with their tags.
struct PropertyListPlaces {
  struct Entry {
    TextSpan key{};
    TextSpan value{};
    std::vector<TextSpan> elements{};  ///< of a value that is an array
  };

  TextSpan dictionary{};
  std::map<std::string, Entry, std::less<>> entries{};
};

/// For who edits such a list as text. Raises MalformedPropertyList as checkPropertyListGrammar
/// does, and for one that is no dictionary.
PropertyListPlaces placesInPropertyList(std::string_view xml);

}  // namespace gatehall
