#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "gatehall/base/Value.h"
#include "listing/ListedUser.h"

namespace gatehall::ctl {

/// A JSON document whose keys stand in the order in which they were put in.
using Json = nlohmann::ordered_json;

/// The value in JSON. A date is {"$date": isoText} and bytes are {"$data": base64}, as in a world
/// file.
Json toJson(const Value& value);
Json toJson(const Dictionary& entries);

/// null for an absent value.
template <class Content>
Json orNull(const std::optional<Content>& content) {
  return content ? Json(*content) : Json();
}
Json orNull(const std::optional<Value>& value);

/// A moment as RFC 3339 writes it, in UTC, with a fraction of up to six digits when there is one.
/// Beyond the years 1 to 9999, the first or last moment of those.
std::string isoText(Date date);
std::string isoText(Moment moment);

/// The document over several lines, a line end at its end. Control characters are escaped and
/// malformed UTF-8 is replaced by U+FFFD, so that a terminal shows it as text.
std::string documentText(const Json& document);

/// The same on one line.
std::string lineText(const Json& document);

}  // namespace gatehall::ctl
