#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "gatehall/platform/Clock.h"
#include "linux/accounts/MachineGUIDs.h"
#include "linux/files/FaultLog.h"
#include "linux/files/FileState.h"
#include "linux/files/HostOptions.h"

namespace gatehall {

/// The lines of /etc/passwd by user id, kept for as long as the file stays as it is, so that one
/// account after another is looked up without reading the file for each. A change is noticed at
/// once, but for one that the file's times don't show, as a second one in the same moment: that
/// within ten times as long as reading takes. From any thread.
class PasswdLines {
 public:
  /// The file in one of its states. It never changes.
  class Snapshot {
   public:
    explicit Snapshot(std::size_t size) { mText.reserve(size); }
    ~Snapshot();
    Snapshot(const Snapshot&) = delete;
    Snapshot& operator=(const Snapshot&) = delete;

    /// Calls visit(line, lineNumber) with the lines of these user ids and those whose id can't be
    /// read, in the order of the file, until it answers false.
    template <class Visit>
    void visit(const std::unordered_set<std::uint32_t>& userIDs, Visit visit) const {
      for (const auto place : placesOf(userIDs)) {
        const auto& line = mLines[place];
        if (!visit(textOf(line), line.number)) return;
      }
    }

    /// Whether a line has the user id.
    bool hasUserID(std::uint32_t userID) const;

    /// The first line of that name, be it one that can't be read, white space and a byte order
    /// mark around a name aside. Empty when there is none.
    std::string_view lineNamed(std::string_view name) const;

    /// The user id that the GUID is made of, when a line has it.
    std::optional<std::uint32_t> userIDOf(const UUIDBytes& guid, MachineGUIDs& guids) const;

   private:
    friend class PasswdLines;

    struct Line {
      std::size_t begin;
      std::size_t length;
      std::uint64_t number;
    };
    struct Place {
      std::uint32_t userID;
      std::uint32_t index;
    };

    void add(std::string_view line, std::uint64_t number);
    void finish();
    std::string_view textOf(const Line& line) const {
      return std::string_view(mText).substr(line.begin, line.length);
    }
    std::vector<std::uint32_t> placesOf(const std::unordered_set<std::uint32_t>& userIDs) const;

    std::string mText;
    std::vector<Line> mLines;
    std::vector<Place> mPlaces;              ///< by user id, then as in the file
    std::vector<std::uint32_t> mWithoutIDs;  ///< the lines whose id can't be read
    mutable std::once_flag mNamesAreRead;
    mutable std::unordered_map<std::string_view, std::uint32_t> mNames;  ///< places of lines
    mutable std::once_flag mGUIDsAreMade;
    mutable std::unordered_map<UUIDBytes, std::uint32_t, GUIDHash> mUserIDs;
  };

  PasswdLines(const HostOptions& options, FaultLog& faults, Clock& clock)
      : mOptions(options), mFaults(faults), mClock(clock) {}

  /// The file as it is now. nullptr for the first who ask, who find a few accounts as fast in the
  /// file itself, and when the file can't be kept. Raises PlatformException on a read error.
  std::shared_ptr<const Snapshot> current();

  /// The same for whoever needs all lines: read for this question alone where they aren't kept. No
  /// lines when there is no file. Raises PlatformException also when it can't be opened.
  std::shared_ptr<const Snapshot> whole();

 private:
  std::shared_ptr<const Snapshot> read(const FileState& state);

  const HostOptions& mOptions;
  FaultLog& mFaults;
  Clock& mClock;
  std::mutex mMutex;
  unsigned mQuestions = 0;
  std::shared_ptr<const Snapshot> mKept;
  std::optional<FileState> mState;  ///< that the lines are of
  /// When they are read again although the file's times say that it is in that state.
  std::optional<std::chrono::steady_clock::time_point> mDoubtedFrom;
};

}  // namespace gatehall
