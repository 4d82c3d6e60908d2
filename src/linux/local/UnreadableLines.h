#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "linux/local/Context.h"

namespace gatehall::local {

/// An account file as far as its lines can be read.
struct LineFormat {
  std::string_view path;
  std::size_t fields;
  /// Whether the line can be read; else why not.
  bool (*isReadable)(std::string_view line, std::string& fault);
};

/// The lines that can't be read, of those that a query by ids or by GUIDs made of ids is about.
class DoubtfulLines {
 public:
  explicit DoubtfulLines(const LineFormat& format) : mFormat(format) {}

  /// The id or GUID, as a record would spell it; empty when it can't be told.
  void add(std::uint64_t line, std::string value, std::string fault) {
    mLines.push_back({line, std::move(value), std::move(fault)});
  }

  bool isEmpty() const { return mLines.empty(); }

  /// Raises PlatformException when one of them may be of a value of which no record was found.
  void require(const std::set<std::string>& missing) const;

 private:
  struct Line {
    std::uint64_t number;
    std::string value;
    std::string fault;
  };
  const LineFormat& mFormat;
  std::vector<Line> mLines;
};

/// Raises PlatformException when one of the names, which are asked for only where a line may be
/// that of any, and of which no line was found that can be read, may be that of a line that can't
/// be. Who asks must not hear that there is none: an access list that is damaged would let
/// everybody in, and an account's namesake from elsewhere would take its place. Such a line has
/// that name but for white space, control characters and marks in it, or no name that can be told:
/// none at all, or more fields than a line has, as where a line feed between two is damaged.
void requireNotHidden(Host& host, const LineFormat& format,
                      const std::function<std::set<std::string>()>& names);

}  // namespace gatehall::local
