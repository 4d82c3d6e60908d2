#include <cstdlib>
#include <cstring>
#include <security/pam_ext.h>
#include <security/pam_modules.h>
#include <unistd.h>

/// A PAM module for tests, which changes no password: it asks as pam_unix(8) does and succeeds when
/// it is given the answers of its configuration: "asking.so OLD NEW TIMES", where TIMES is how
/// often it asks for the new password. Root is not asked for the old one.

namespace {

bool isAnswered(pam_handle_t* handle, const char* expected) {
  char* answer = nullptr;
  const int status = pam_prompt(handle, PAM_PROMPT_ECHO_OFF, &answer, "Password: ");
  const bool isRight =
      status == PAM_SUCCESS && answer != nullptr && std::strcmp(answer, expected) == 0;
  std::free(answer);
  return isRight;
}

}  // namespace

extern "C" int pam_sm_chauthtok(pam_handle_t* handle, int flags, int count,
                                const char** arguments) {
  if (count != 3) return PAM_SERVICE_ERR;
  if ((flags & PAM_PRELIM_CHECK) != 0) return PAM_SUCCESS;
  pam_info(handle, "%s", "Changing the password.");
  if (getuid() != 0 && !isAnswered(handle, arguments[0])) return PAM_AUTH_ERR;
  for (int time = 0; time < std::atoi(arguments[2]); ++time) {
    if (!isAnswered(handle, arguments[1])) return PAM_AUTHTOK_ERR;
  }
  return PAM_SUCCESS;
}
