#include "portable/formats/PropertyListEdit.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "portable/formats/BinaryPropertyList.h"
#include "portable/formats/PropertyList.h"
#include "portable/formats/PropertyListWriter.h"
#include "portable/text/Utf8.h"

namespace gatehall {

namespace {

constexpr std::string_view kStep = "  ";
constexpr std::string_view kBlank = " \t\r\n";
constexpr std::string_view kBlankOfLine = " \t\r";

std::string textOf(std::string_view bytes) {
  if (bytes.empty()) return propertyListText(Dictionary());
  checkPropertyListGrammar(bytes);
  if (!bytes.starts_with(kBinaryPropertyListMagic)) return std::string(bytes);
  return propertyListText(parsePropertyList(bytes));
}

/// The text of a comment, which can't have two hyphens side by side nor control characters.
std::string commentOf(std::string_view text) {
  if (text.empty()) return {};
  std::string result(" <!-- ");
  if (!isUtf8(text)) return result.append("? -->");
  for (const char c : text) {
    if (c == '-' && result.ends_with('-')) result += ' ';
    result += (c >= 0 && c < ' ') || c == '\x7F' ? '?' : c;
  }
  return result.append(" -->");
}

/// The elements of a list, each on a line of its own.
std::string linesOf(const std::vector<CommentedText>& texts, const std::string& indentation) {
  std::string lines;
  for (const auto& [text, comment] : texts) {
    lines.append("\n").append(indentation).append(propertyListElement(text, indentation));
    lines.append(commentOf(comment));
  }
  return lines;
}

}  // namespace

PropertyListEdit::PropertyListEdit(std::string_view bytes)
    : mText(textOf(bytes)), mPlaces(placesInPropertyList(mText)) {}

void PropertyListEdit::set(std::string_view key, const Value& value) {
  setElement(key, propertyListElement(value, kStep));
}

void PropertyListEdit::setList(std::string_view key, const std::vector<CommentedText>& texts) {
  set(key, Array());
  append(key, texts);
}

void PropertyListEdit::append(std::string_view key, const std::vector<CommentedText>& texts) {
  if (!mPlaces.entries.contains(key)) set(key, Array());
  if (texts.empty()) return;
  const auto& [name, list, elements] = mPlaces.entries.find(key)->second;
  const std::string_view whole(mText.data() + list.begin, list.end - list.begin);
  if (!whole.starts_with("<array")) throw MalformedPropertyList("it is no list");
  const auto outer = indentationAt(list.begin);
  if (!elements.empty()) {
    const auto last = elements.back();
    const auto end = behindComments(last.end);
    replace({end, end}, linesOf(texts, indentationAt(last.begin)));
  } else if (whole.ends_with("/>")) {
    replace(list,
            "<array>" + linesOf(texts, outer + std::string(kStep)) + "\n" + outer + "</array>");
  } else {
    const auto tag = list.end - std::string_view("</array>").size();
    const auto end = mText.find_last_not_of(kBlank, tag - 1) + 1;
    replace({end, tag}, linesOf(texts, outer + std::string(kStep)) + "\n" + outer);
  }
}

void PropertyListEdit::removeElement(std::string_view key, std::size_t place) {
  const auto entry = mPlaces.entries.find(key);
  if (entry == mPlaces.entries.end()) throw std::out_of_range("no such key");
  replace(withItsLine(entry->second.elements.at(place)), "");
}

void PropertyListEdit::remove(std::string_view key) {
  const auto entry = mPlaces.entries.find(key);
  if (entry == mPlaces.entries.end()) return;
  // What people wrote between the key and its value is about them.
  replace(withItsLine({entry->second.key.begin, entry->second.value.end}), "");
}

void PropertyListEdit::replace(TextSpan span, std::string_view text) {
  mText.replace(span.begin, span.end - span.begin, text);
  mPlaces = placesInPropertyList(mText);
}

void PropertyListEdit::setElement(std::string_view key, const std::string& element) {
  if (const auto entry = mPlaces.entries.find(key); entry != mPlaces.entries.end()) {
    replace(entry->second.value, element);
    return;
  }
  const auto dictionary = mPlaces.dictionary;
  const auto outer = indentationAt(dictionary.begin);
  std::string lines("\n");
  lines.append(outer).append(kStep).append("<key>").append(propertyListCharacters(key));
  lines.append("</key>\n").append(outer).append(kStep).append(element);
  const std::string_view end("</dict>");
  if (!std::string_view(mText).substr(0, dictionary.end).ends_with(end)) {
    replace(dictionary, "<dict>" + lines + "\n" + outer + "</dict>");
    return;
  }
  const auto tag = dictionary.end - end.size();
  const auto behind = mText.find_last_not_of(kBlank, tag - 1) + 1;
  replace({behind, tag}, lines + "\n" + outer);
}

/// The blanks that the line at that place begins with.
std::string PropertyListEdit::indentationAt(std::size_t place) const {
  const auto feed = mText.rfind('\n', place == 0 ? 0 : place - 1);
  const auto begin = feed == std::string::npos ? 0 : feed + 1;
  const auto end = std::min(mText.find_first_not_of(" \t", begin), place);
  return mText.substr(begin, end - begin);
}

/// Where the comments end that stand behind that place on its line.
std::size_t PropertyListEdit::behindComments(std::size_t place) const {
  for (;;) {
    const auto next = std::min(mText.find_first_not_of(kBlankOfLine, place), mText.size());
    if (!std::string_view(mText).substr(next).starts_with("<!--")) return place;
    place = mText.find("-->", next) + 3;
  }
}

/// The span with the comments behind it, and with the line end before it when it begins its line.
TextSpan PropertyListEdit::withItsLine(TextSpan span) const {
  const auto end = behindComments(span.end);
  const auto before = mText.find_last_not_of(kBlankOfLine, span.begin - 1);
  if (before == std::string::npos || mText[before] != '\n') return {span.begin, end};
  // The carriage return belongs to the line end.
  return {before > 0 && mText[before - 1] == '\r' ? before - 1 : before, end};
}

}  // namespace gatehall
