#include "linux/MonitorAnswers.h"

#include "linux/files/HostOptions.h"
#include "linux/ldap/client/Credentials.h"
#include "linux/local/PasswordMonitor.h"

namespace gatehall {

void answerInMonitor(const MonitorMessage& question, MonitorMessage& answer) {
  switch (question.question) {
    case MonitorQuestion::PasswordKind:
    case MonitorQuestion::AcceptsEmptyPassword:
      return local::answerAboutPassword(question, answer);
    case MonitorQuestion::BindPassword:
    case MonitorQuestion::ClientKey:
      return ldap::answerAboutCredentials(HostOptions(), question, answer);
  }
}

}  // namespace gatehall
