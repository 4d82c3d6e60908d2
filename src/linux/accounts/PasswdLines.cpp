#include "linux/accounts/PasswdLines.h"

#include <string.h>
#include <utility>

#include "linux/accounts/AccountFiles.h"
#include "linux/files/HostPath.h"
#include "linux/records/AccountID.h"

namespace gatehall {

namespace {

constexpr unsigned kQuestionsUntilLinesPay = 4;
constexpr off_t kLargestKept = off_t{64} << 20U;
constexpr std::size_t kUserIDField = 2;

/// A file that changed so lately may change again without its times showing it.
constexpr std::chrono::seconds kUntilTimesTell{2};

/// How long it is believed then: so long that reading it again is a small part of the work.
constexpr std::chrono::milliseconds kShortestBelief{10};
constexpr int kBeliefForEachRead = 10;

}  // namespace

/// A line may hold a password hash.
PasswdLines::Snapshot::~Snapshot() { explicit_bzero(mText.data(), mText.size()); }

void PasswdLines::Snapshot::add(std::string_view line, std::uint64_t number) {
  const auto index = static_cast<std::uint32_t>(mLines.size());
  mLines.push_back({mText.size(), line.size(), number});
  mText += line;
  if (const auto id = accountID(accountLine::field(line, kUserIDField))) {
    mPlaces.push_back({*id, index});
  } else {
    mWithoutIDs.push_back(index);
  }
}

std::vector<std::uint32_t> PasswdLines::Snapshot::placesOf(
    const std::unordered_set<std::uint32_t>& userIDs) const {
  auto places = mWithoutIDs;
  for (const auto userID : userIDs) {
    for (const auto& place : std::ranges::equal_range(mPlaces, userID, {}, &Place::userID)) {
      places.push_back(place.index);
    }
  }
  std::ranges::sort(places);
  return places;
}

void PasswdLines::Snapshot::finish() {
  std::ranges::sort(mPlaces, {},
                    [](const Place& place) { return std::pair(place.userID, place.index); });
}

bool PasswdLines::Snapshot::hasUserID(std::uint32_t userID) const {
  return std::ranges::binary_search(mPlaces, userID, {}, &Place::userID);
}

std::string_view PasswdLines::Snapshot::lineNamed(std::string_view name) const {
  std::call_once(mNamesAreRead, [this] {
    mNames.reserve(mLines.size());
    for (std::uint32_t index = 0; index < mLines.size(); ++index) {
      const auto written = accountLine::name(textOf(mLines[index]));
      mNames.try_emplace(written, index);
      mNames.try_emplace(accountLine::bareName(written), index);
    }
  });
  const auto found = mNames.find(name);
  return found == mNames.end() ? std::string_view() : textOf(mLines[found->second]);
}

std::optional<std::uint32_t> PasswdLines::Snapshot::userIDOf(const UUIDBytes& guid,
                                                             MachineGUIDs& guids) const {
  std::call_once(mGUIDsAreMade, [&] {
    mUserIDs.reserve(mPlaces.size());
    for (const auto& place : mPlaces) mUserIDs.emplace(guids.ofUser(place.userID), place.userID);
  });
  const auto found = mUserIDs.find(guid);
  if (found == mUserIDs.end()) return std::nullopt;
  return found->second;
}

std::shared_ptr<const PasswdLines::Snapshot> PasswdLines::current() {
  using Time = std::chrono::steady_clock;
  const std::lock_guard lock(mMutex);
  if (mQuestions < kQuestionsUntilLinesPay) {
    ++mQuestions;
    return nullptr;
  }
  const auto state = FileState::of(hostPath(mOptions, accountFiles::kPasswd));
  if (!state || state->size() > kLargestKept) return nullptr;
  const auto start = Time::now();
  const bool isBelieved = !mDoubtedFrom || start < *mDoubtedFrom;
  if (mKept && mState == state && isBelieved) return mKept;

  const std::chrono::duration<double> changed(static_cast<double>(state->changed()));
  const bool doTimesTell = Date(changed + kUntilTimesTell) <= mClock.now();
  mKept = read(*state);
  mState = state;
  mDoubtedFrom.reset();
  if (!doTimesTell) {
    const auto end = Time::now();
    mDoubtedFrom =
        end + std::max<Time::duration>(kShortestBelief, kBeliefForEachRead * (end - start));
  }
  return mKept;
}

std::shared_ptr<const PasswdLines::Snapshot> PasswdLines::whole() {
  if (auto kept = current()) return kept;
  const auto state = FileState::of(hostPath(mOptions, accountFiles::kPasswd));
  const auto size = state ? std::clamp<off_t>(state->size(), 0, kLargestKept) : 0;
  auto lines = std::make_shared<Snapshot>(static_cast<std::size_t>(size));
  accountFiles::scanRequired(mOptions, mFaults, accountFiles::kPasswd,
                             [&](std::string_view line, std::uint64_t number) {
                               lines->add(line, number);
                               return true;
                             });
  lines->finish();
  return lines;
}

std::shared_ptr<const PasswdLines::Snapshot> PasswdLines::read(const FileState& state) {
  mKept = nullptr;
  auto lines = std::make_shared<Snapshot>(static_cast<std::size_t>(state.size()));
  const int error = accountFiles::scan(mOptions, mFaults, accountFiles::kPasswd,
                                       [&](std::string_view line, std::uint64_t number) {
                                         lines->add(line, number);
                                         return true;
                                       });
  lines->finish();
  // They are of that state only if the file is still in it.
  if (error != 0 || FileState::of(hostPath(mOptions, accountFiles::kPasswd)) != state) {
    return nullptr;
  }
  return lines;
}

}  // namespace gatehall
