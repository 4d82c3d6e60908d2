#include <cstdlib>
#include <security/pam_modules.h>
#include <string>

/// A PAM module for tests of stacks: "answering.so NAME" answers for accounts what the variable
/// NAME of PAM's environment says, a number. It sets NAME_ASKED there, and NAME_WORDS to its
/// further arguments, each between angle brackets.
extern "C" int pam_sm_acct_mgmt(pam_handle_t* handle, int, int count, const char** arguments) {
  if (count == 0) return PAM_SERVICE_ERR;
  const char* answer = pam_getenv(handle, arguments[0]);
  pam_putenv(handle, (std::string(arguments[0]) + "_ASKED=1").c_str());
  std::string words(arguments[0]);
  words += "_WORDS=";
  for (int index = 1; index < count; ++index)
    words.append("<").append(arguments[index]).append(">");
  pam_putenv(handle, words.c_str());
  return answer != nullptr ? std::atoi(answer) : PAM_SUCCESS;
}
