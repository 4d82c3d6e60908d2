#include "ctl/verbs/UsersAnswer.h"

#include "ctl/print/LogEntries.h"
#include "ctl/print/UserEntries.h"

namespace gatehall::ctl {

Answer usersAnswer(const Host& host, const Request& request,
                   const std::shared_ptr<CachedUserList>& users, const std::string& withoutList) {
  Answer answer{.tellsLog = true, .source = users};
  if (request.json) {
    answer.json["users"] = usersJson(users);
    answer.json["log"] = logJson(host.log());
  } else {
    answer.tables.push_back(usersTable(users, withoutList));
    answer.tables.push_back(logTable(host.log()));
  }
  return answer;
}

}  // namespace gatehall::ctl
