#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "gatehall/base/Value.h"
#include "portable/formats/PropertyListGrammar.h"

namespace gatehall {

/// A text of a list, and what a comment beside it says of it; an empty one is none.
struct CommentedText {
  std::string text;
  std::string comment{};
};

/// A property list that is a dictionary, changed as text: what is not asked for stays as people
/// wrote it, their comments included. What is taken out goes with the comments behind it on its
/// line. A binary list, which has neither lines nor comments, becomes XML.
class PropertyListEdit {
 public:
  /// Of bytes that are a list to the letter; none: an empty dictionary. Raises
  /// MalformedPropertyList for others, and for a list that is no dictionary.
  explicit PropertyListEdit(std::string_view bytes);

  /// What is there to be written now.
  const std::string& text() const { return mText; }

  /// Puts the value in the place of the key's, or the key at the end. Raises MalformedPropertyList
  /// for what can't be written.
  void set(std::string_view key, const Value& value);

  /// The same, of texts.
  void setList(std::string_view key, const std::vector<CommentedText>& texts);

  /// Puts the texts at the end of the key's list, which is made when there is no such key. Raises
  /// MalformedPropertyList when the key's value is no list.
  void append(std::string_view key, const std::vector<CommentedText>& texts);

  /// Takes the element at that place out of the key's list. Raises std::out_of_range when there is
  /// none.
  void removeElement(std::string_view key, std::size_t place);

  /// Takes the key out, if it is there.
  void remove(std::string_view key);

 private:
  void replace(TextSpan span, std::string_view text);
  void setElement(std::string_view key, const std::string& element);
  std::string indentationAt(std::size_t place) const;
  std::size_t behindComments(std::size_t place) const;
  TextSpan withItsLine(TextSpan span) const;

  std::string mText;
  PropertyListPlaces mPlaces;
};

}  // namespace gatehall
