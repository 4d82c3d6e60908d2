#include "ctl/watch/ListDisplay.h"

#include <array>
#include <chrono>
#include <ctime>
#include <utility>

#include "ctl/print/TerminalText.h"
#include "ctl/print/UserEntries.h"
#include "ctl/watch/WatchEvents.h"
#include "gatehall/platform/Platform.h"

namespace gatehall::ctl {

namespace {

/// A world lives by UTC, as its files do, a machine by its local time.
std::string clockText(Date moment, bool isOfWorld) {
  if (isOfWorld) return isoText(moment).substr(11, 8);
  const auto seconds = std::chrono::floor<std::chrono::seconds>(moment).time_since_epoch().count();
  const std::time_t time = seconds;
  std::tm parts{};
  localtime_r(&time, &parts);
  std::array<char, 16> text;
  std::strftime(text.data(), text.size(), "%H:%M:%S", &parts);
  return text.data();
}

}  // namespace

void ListDisplay::begin(Date now, ListedUsers users) {
  mUsers = std::move(users);
  if (mRequest.json) {
    add(watchEvent::list(now, mUsers));
  } else if (!isOnTerminal()) {
    addTable();
  }
}

void ListDisplay::change(Date now, const std::vector<ListChange>& changes, ListedUsers users) {
  mUsers = std::move(users);
  for (const auto& change : changes) add(watchEvent::change(now, change));
}

void ListDisplay::add(const Json& event) {
  if (mRequest.json) {
    mPending += lineText(event);
    return;
  }
  const auto time = clockText(platform().clock().now(), mHost.world() != nullptr);
  const auto line = forTerminal(time + "  " + watchEvent::text(event)).text;
  const char* colour = "";
  if (mRequest.style.colour && event.at("event") == "added") colour = "\x1B[32m";
  if (mRequest.style.colour && event.at("event") == "removed") colour = "\x1B[31m";
  mPending += *colour == '\0' ? line + "\n" : colour + line + "\x1B[0m\n";
}

bool ListDisplay::print() {
  const bool isPrinted = printPending();
  const bool isFirst = std::exchange(mIsFirst, false);
  if (!isPrinted || !isFirst || !isOnTerminal() || mTable.isShown()) return isPrinted;
  addTable();
  return printPending();
}

bool ListDisplay::printPending() {
  if (isOnTerminal()) {
    mPending = mTable.repainted(mPending, usersTable(mUsers), mRequest.style,
                                mRequest.screen.size().value_or(ScreenSize()));
  }
  return mRequest.screen.write(std::exchange(mPending, {}));
}

/// Where the table can be painted again.
bool ListDisplay::isOnTerminal() const {
  return !mRequest.json && mHost.machine() != nullptr && mRequest.screen.size();
}

void ListDisplay::addTable() {
  mPending += tableText(usersTable(mUsers), mRequest.style);
  if (mRequest.style.legend) mPending += '\n';
}

}  // namespace gatehall::ctl
