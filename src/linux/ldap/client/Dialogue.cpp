#include "linux/ldap/client/Dialogue.h"

#include "linux/files/FaultLog.h"

namespace gatehall::ldap {

namespace {

constexpr std::size_t kLongestDiagnostic = 1024;

const Library& library() { return Library::get(); }

timeval timeUntil(Deadline deadline) {
  const long left = millisecondsUntil(deadline);
  timeval time{};
  time.tv_sec = left / 1000;
  time.tv_usec = (left % 1000) * 1000;
  return time;
}

}  // namespace

void Dialogue::lose(const std::string& why, bool timedOut) const {
  throw ConnectionLost(mServer.text + ": " + why, timedOut);
}

std::string Dialogue::lastError() const {
  int code = LDAP_OTHER;
  library().get_option(ldap(), LDAP_OPT_RESULT_CODE, &code);
  if (code == LDAP_SERVER_DOWN) return "the connection broke off";
  return library().err2string(code);
}

void Dialogue::check(int status) const {
  if (status != LDAP_SUCCESS) lose(lastError(), false);
}

Dialogue::Message Dialogue::wait(int operation, Deadline deadline) const {
  if (std::chrono::steady_clock::now() >= deadline) lose("no answer in time", true);
  auto time = timeUntil(deadline);
  LDAPMessage* received = nullptr;
  const int type = library().result(ldap(), operation, LDAP_MSG_ONE, &time, &received);
  Message message(received);
  if (type == 0) lose("no answer in time", true);
  if (type < 0 || !message) lose(lastError(), false);
  return message;
}

Dialogue::Answer Dialogue::parse(LDAPMessage* message) const {
  Answer answer;
  char* text = nullptr;
  char** referrals = nullptr;
  LDAPControl** controls = nullptr;
  const int status = library().parse_result(ldap(), message, &answer.result.code, nullptr, &text,
                                            &referrals, &controls, 0);
  const Owned<char> textOwner(text);
  const Owned<char*> referralsOwner(referrals);
  answer.controls.reset(controls);
  if (status != LDAP_SUCCESS) lose("an answer that can't be read", false);
  answer.result.text = library().err2string(answer.result.code);
  if (text != nullptr && *text != '\0') {
    answer.result.text += " (" + printable(text) + ")";
    answer.result.diagnostic = std::string_view(text).substr(0, kLongestDiagnostic);
  }
  addReferrals(answer.result, referrals);
  return answer;
}

Result Dialogue::finish(int status, int operation, Deadline deadline) const {
  check(status);
  return parse(wait(operation, deadline).get()).result;
}

void Dialogue::addReferrals(Result& result, char** referrals) {
  for (; referrals != nullptr && *referrals != nullptr; ++referrals) {
    if (result.referrals.size() <= Result::kMostReferrals)
      result.referrals.emplace_back(*referrals);
  }
}

}  // namespace gatehall::ldap
