#include "ctl/print/UserProperties.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace gatehall::ctl {

namespace {

/// What a narrow terminal has room for behind the names.
constexpr std::size_t kLongestLine = 48;

struct Property {
  std::string_view name;
  std::string_view help;
};

struct Subject {
  std::string_view title;
  std::string_view help;
  std::vector<Property> properties;
};

/// Each property once.
std::span<const Subject> subjects() {
  static const std::vector<Subject> all = {
      {"IDENTITY",
       "who it is, and what lists name it by",
       {{"shortName", "what is typed to log in"},
        {"longName", "the full name that is shown"},
        {"getUid", "the user id"},
        {"getGid", "the id of the primary group"},
        {"getGUID", "what allow and deny lists name the account by"},
        {"primaryGroupGUID", "what they name its primary group by"},
        {"node", "the directory that holds the account"},
        {"userPicturePath", "the file of its picture"}}},
      {"KIND OF ACCOUNT",
       "whose it is, and where it comes from",
       {{"isLocalUser", "it is on this machine"},
        {"isMobileHomeUser", "a local copy of a network account"},
        {"mobileHomeUserNode", "the directory that it was copied from"},
        {"isGuestUser", "a guest's"},
        {"isRootUser", "the user id is 0"},
        {"isOtherUser", "no account: stands for a name to be typed in"}}},
      {"LOGIN",
       "what else a login depends on, and whether it is logged in",
       {{"hasSACLAccess", "admitted by the service access list, if there is one"},
        {"shell", "what a login on a terminal starts"},
        {"isCurrentUser", "its session is in front"},
        {"isSuspended", "it is logged in"}}},
      {"PASSWORD",
       "how it is checked, and when it has to be changed",
       {{"shouldAuthenticate", "rules apply to its password"},
        {"authAuthority", "how the directory says that it is checked"},
        {"hasCryptPassword", "it is checked against a crypt(3) hash"},
        {"hasShadowHashAuthAuthority", "it is checked against a shadow hash"},
        {"passwordHint", "what is shown to whoever forgot it"},
        {"canModifyPassword", "its owner may change it"},
        {"passwordPolicyInUse", "some rule of a policy applies"},
        {"minutesUntilPasswordExpires", "0: it doesn't expire"},
        {"isSmartCardUser", "a card is used instead"}}},
      {"ADMINISTRATION",
       "what lets it look after this machine",
       {{"isInAdminGroup", "in the local group \"admin\", or in one that it holds"},
        {"isDirAdminUser", "the user id is 1000"},
        {"isNameAdmin", "the short name is \"admin\""}}},
      {"HOURS",
       "what parental controls say",
       {{"isManaged", "parental controls apply"},
        {"kinwatchAllowsLogin", "they let it log in now"},
        {"kinwatchNextCurfewTime", "when that changes next"}}},
      {"HOME",
       "where its files are",
       {{"nfsHomePath", "its home folder"},
        {"ofpHomePath", "where it is mounted from"},
        {"isCryptwellUser", "an encrypted image"},
        {"isExternalHomeUser", "on a disk of its own"}}},
      {"RECORD", "what the directory answered", {{"description", "what the directory answered"}}},
  };
  return all;
}

/// Of minutes before 0, which count back from 2^64: "expired 3 days ago".
std::string expiryText(std::uint64_t minutes) {
  const auto left = static_cast<std::int64_t>(minutes);
  if (left >= 0) return std::to_string(minutes);
  const auto ago = std::uint64_t{0} - minutes;
  constexpr std::uint64_t kHour = 60;
  constexpr std::uint64_t kDay = 24 * kHour;
  const auto text = ago >= kDay    ? countText(ago / kDay, "day")
                    : ago >= kHour ? countText(ago / kHour, "hour")
                                   : countText(ago, "minute");
  return "expired " + text + " ago";
}

Json curfewJson(const CachedUser& user) {
  const auto curfew = user.kinwatchNextCurfewTime();
  return curfew ? Json(isoText(*curfew)) : Json();
}

}  // namespace

Json userPropertiesJson(const CachedUser& user) {
  Json json;
  json["shortName"] = orNull(user.shortName());
  json["longName"] = orNull(user.longName());
  json["getUid"] = user.getUid();
  json["getGid"] = user.getGid();
  json["getGUID"] = orNull(user.getGUID());
  json["primaryGroupGUID"] = orNull(user.primaryGroupGUID());
  json["shell"] = orNull(user.shell());
  json["node"] = orNull(user.node());
  json["authAuthority"] = orNull(user.authAuthority());
  json["passwordHint"] = orNull(user.passwordHint());
  json["userPicturePath"] = orNull(user.userPicturePath());
  json["nfsHomePath"] = orNull(user.nfsHomePath());
  json["ofpHomePath"] = orNull(user.ofpHomePath());
  json["mobileHomeUserNode"] = orNull(user.mobileHomeUserNode());
  json["hasSACLAccess"] = user.hasSACLAccess();
  json["isRootUser"] = user.isRootUser();
  json["isDirAdminUser"] = user.isDirAdminUser();
  json["isNameAdmin"] = user.isNameAdmin();
  json["isInAdminGroup"] = user.isInAdminGroup();
  json["isGuestUser"] = user.isGuestUser();
  json["isLocalUser"] = user.isLocalUser();
  json["isManaged"] = user.isManaged();
  json["isMobileHomeUser"] = user.isMobileHomeUser();
  json["isCurrentUser"] = user.isCurrentUser();
  json["isOtherUser"] = user.isOtherUser();
  json["isSmartCardUser"] = user.isSmartCardUser();
  json["isSuspended"] = user.isSuspended();
  json["shouldAuthenticate"] = user.shouldAuthenticate();
  json["hasCryptPassword"] = user.hasCryptPassword();
  json["hasShadowHashAuthAuthority"] = user.hasShadowHashAuthAuthority();
  json["canModifyPassword"] = user.canModifyPassword();
  json["passwordPolicyInUse"] = user.passwordPolicyInUse();
  json["minutesUntilPasswordExpires"] = user.minutesUntilPasswordExpires();
  json["kinwatchAllowsLogin"] = user.kinwatchAllowsLogin();
  json["kinwatchNextCurfewTime"] = curfewJson(user);
  json["isCryptwellUser"] = user.isCryptwellUser();
  json["isExternalHomeUser"] = user.isExternalHomeUser();
  json["description"] = user.description();
  return json;
}

Table userPropertiesTable(const Json& properties, bool withSubjects) {
  Table table{.fits = {Fit::Whole, Fit::Wrap, Fit::Extra}};
  const std::string indent(withSubjects ? 2 : 0, ' ');
  for (const auto& [title, about, members] : subjects()) {
    if (withSubjects) {
      if (!table.rows.empty()) table.rows.push_back({{""}});
      table.rows.push_back({{std::string(title) + ": " + std::string(about)}});
    }
    for (const auto& [name, help] : members) {
      auto value = cellText(properties.at(std::string(name)));
      std::vector<Cell> row = {{indent + std::string(name)}};
      if (name == "description") {
        // As long as a record is, it would leave no room for anything beside it.
        for (auto& line : linesOf(value, kLongestLine)) {
          row.resize(1);
          row.push_back({std::move(line)});
          table.rows.push_back(std::exchange(row, {{}}));
        }
        continue;
      }
      if (name == "minutesUntilPasswordExpires") {
        value = expiryText(properties.at(std::string(name)).get<std::uint64_t>());
      }
      row.push_back({std::move(value)});
      row.push_back({std::string(help)});
      table.rows.push_back(std::move(row));
    }
  }
  return table;
}

}  // namespace gatehall::ctl
