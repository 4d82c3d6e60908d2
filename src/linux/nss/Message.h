#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "gatehall/base/Value.h"

/// What goes between a directory behind the name service and the process that asks the C library:
/// one question and one answer, each behind its length in four bytes. Both ends are of the same
/// build. Neither believes the other: what is read is held against what has come.
namespace gatehall::nss {

enum class Asked : std::uint32_t {
  Nothing = 1,    ///< whether it answers
  UsersByName,    ///< values: login names
  UsersByID,      ///< values: decimal user ids
  UsersWithHome,  ///< values: folders; those who own what stands right in them
  AllUsers,       ///< as far as the service tells all
  GroupsByName,   ///< values: names
  GroupsByID,     ///< values: decimal group ids
  AllGroups,      ///< as far as the service tells all
  GroupsOfUsers,  ///< values: a login name and a decimal primary group id, for each user
};

struct Question {
  Asked asked = Asked::Nothing;
  Strings values;
};

/// A user as passwd(5) has one.
struct Account {
  std::string name;
  std::uint32_t userID = 0;
  std::uint32_t groupID = 0;
  std::string gecos;
  std::string home;
  std::string shell;
};

/// A group as group(5) has one.
struct AccountGroup {
  std::string name;
  std::uint32_t groupID = 0;
  Strings members;  ///< login names
};

struct Answer {
  std::string fault;  ///< why it can't be told; empty: what follows is all of it
  std::vector<Account> users;
  std::vector<AccountGroup> groups;
  /// For each user of GroupsOfUsers, the primary one among them; none: no account has that name
  /// now.
  std::vector<std::vector<std::uint32_t>> groupIDs;
};

/// The longest question and the longest answer, in bytes behind the length.
inline constexpr std::size_t kLongestQuestion = std::size_t{32} << 20U;
inline constexpr std::size_t kLongestAnswer = std::size_t{256} << 20U;
inline constexpr std::size_t kLengthBytes = 4;

/// The length that four bytes give.
std::size_t lengthOf(std::string_view bytes);

/// With the length in front. Raises PlatformException for what is beyond the longest.
std::string written(const Question& question);
std::string written(const Answer& answer);

/// What stands behind the length. Raise PlatformException for what can't be read whole, for more
/// than a user or a group can be, and for a name that is none: an empty one, and one with control
/// characters.
Question readQuestion(std::string_view bytes);
Answer readAnswer(std::string_view bytes);

}  // namespace gatehall::nss
