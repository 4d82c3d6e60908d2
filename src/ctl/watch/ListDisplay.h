#pragma once

#include <string>
#include <vector>

#include "ctl/print/BottomTable.h"
#include "ctl/print/Json.h"
#include "ctl/request/Verb.h"
#include "gatehall/base/Value.h"
#include "listing/ListChange.h"
#include "listing/ListedUser.h"

namespace gatehall::ctl {

/// Prints a list of users and what becomes of it, an event a line. On a terminal the list of a
/// machine stays below the lines.
class ListDisplay {
 public:
  ListDisplay(const Host& host, const Request& request) : mHost(host), mRequest(request) {}

  /// The list as it is shown last.
  const ListedUsers& users() const { return mUsers; }

  /// Adds the first list to what is to be printed.
  void begin(Date now, ListedUsers users);

  /// Adds the changes that led to the list.
  void change(Date now, const std::vector<ListChange>& changes, ListedUsers users);

  /// Adds an event of watchEvent.
  void add(const Json& event);

  /// Whether there is nothing to print.
  bool isEmpty() const { return mPending.empty(); }

  /// Prints what was added; false when nothing can be printed any more.
  bool print();

 private:
  bool isOnTerminal() const;
  void addTable();
  bool printPending();

  const Host& mHost;
  const Request& mRequest;
  ListedUsers mUsers;
  std::string mPending;  ///< to print at once
  BottomTable mTable;
  bool mIsFirst = true;
};

}  // namespace gatehall::ctl
