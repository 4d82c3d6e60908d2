#include "ctl/request/UserID.h"
#include "ctl/verbs/Verbs.h"
#include "gatehall/users/UserLookup.h"

namespace gatehall::ctl {

namespace {

Json curfewJson(const CachedUser& user) {
  const auto curfew = user.kinwatchNextCurfewTime();
  return curfew ? Json(isoText(*curfew)) : Json();
}

Json propertiesJson(const CachedUser& user) {
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

Answer run(const Host&, const Request& request) {
  const auto& operand = request.operands.front();
  const auto user = cachedUserForUID(userIDOperand(operand));
  if (!user) {
    return {.status = ExitStatus::No,
            .messages = {"no user with the user id " + operand + " can be found"}};
  }
  Answer answer{.json = propertiesJson(*user), .tables = {{.header = {"PROPERTY", "VALUE"}}}};
  for (const auto& [name, value] : answer.json.items()) {
    answer.tables.front().rows.push_back({{name}, {cellText(value)}});
  }
  return answer;
}

}  // namespace

Verb userVerb() {
  return {
      .name = "user",
      .operands = Verb::Operands::One,
      .operandName = "UID",
      .summary = "Everything that is derived about one user",
      .description =
          R"(Shows what the login screen's layer makes of one account, each property by the name of its
method. Exit status 1 when no user has that id.)",
      .example = "--world examples/family.world.json user 1001",
      .run = run,
  };
}

}  // namespace gatehall::ctl
