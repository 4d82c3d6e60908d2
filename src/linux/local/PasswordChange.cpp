#include "linux/local/PasswordChange.h"

#include <cstdlib>
#include <cstring>
#include <security/pam_appl.h>
#include <string.h>
#include <unistd.h>

#include "gatehall/base/PlatformException.h"
#include "linux/files/HostPath.h"
#include "linux/files/SecretText.h"
#include "portable/LazyLibrary.h"

namespace gatehall::local {

namespace {

struct PamLibrary {
  LazyLibrary library{"libpam.so.0", "libpam0g"};
  decltype(::pam_start_confdir)* start = GATEHALL_FUNCTION(library, pam_start_confdir);
  decltype(::pam_chauthtok)* change = GATEHALL_FUNCTION(library, pam_chauthtok);
  decltype(::pam_end)* end = GATEHALL_FUNCTION(library, pam_end);
};

/// What the conversation answers: the old password once, if it will be asked for, then the new one
/// and the new one again.
struct Answers {
  SecretText oldPassword;
  SecretText newPassword;
  bool oldIsAsked;
  int given = 0;
};

constexpr int kMostAnswers = 3;

void dropReplies(pam_response* replies, int count) {
  for (int index = 0; index < count; ++index) {
    char* text = replies[index].resp;
    if (text == nullptr) continue;
    explicit_bzero(text, std::strlen(text));
    std::free(text);
  }
  std::free(replies);
}

/// A conv function of pam_conv(3): PAM frees the replies, so they come from malloc.
int converse(int count, const pam_message** messages, pam_response** replies, void* context) {
  auto& answers = *static_cast<Answers*>(context);
  if (count <= 0 || count > PAM_MAX_NUM_MSG) return PAM_CONV_ERR;
  auto* made = static_cast<pam_response*>(
      std::calloc(static_cast<std::size_t>(count), sizeof(pam_response)));
  if (made == nullptr) return PAM_BUF_ERR;
  for (int index = 0; index < count; ++index) {
    const int style = messages[index]->msg_style;
    if (style == PAM_TEXT_INFO || style == PAM_ERROR_MSG) continue;
    const bool isOld = answers.oldIsAsked && answers.given == 0;
    const bool isAnswered =
        style == PAM_PROMPT_ECHO_OFF && answers.given < kMostAnswers - (answers.oldIsAsked ? 0 : 1);
    ++answers.given;
    if (isAnswered) {
      made[index].resp = strdup(isOld ? answers.oldPassword.c_str() : answers.newPassword.c_str());
    }
    if (made[index].resp == nullptr) {
      dropReplies(made, count);
      return PAM_CONV_ERR;
    }
  }
  *replies = made;
  return PAM_SUCCESS;
}

PasswordChange meaning(int status) {
  switch (status) {
    case PAM_SUCCESS:
      return PasswordChange::Done;
    case PAM_AUTH_ERR:
    case PAM_PERM_DENIED:
    case PAM_AUTHTOK_RECOVERY_ERR:
    case PAM_USER_UNKNOWN:
    case PAM_MAXTRIES:
      return PasswordChange::OldPasswordRefused;
    case PAM_AUTHTOK_ERR:
    case PAM_AUTHTOK_LOCK_BUSY:
    case PAM_AUTHTOK_DISABLE_AGING:
    case PAM_TRY_AGAIN:
    case PAM_CONV_ERR:
      return PasswordChange::NewPasswordRefused;
    default:
      return PasswordChange::Unavailable;
  }
}

}  // namespace

PasswordChange changePasswordThroughPam(const HostOptions& options, const std::string& loginName,
                                        std::string_view oldPassword,
                                        std::string_view newPassword) {
  if (newPassword.find('\0') != std::string_view::npos) return PasswordChange::NewPasswordRefused;
  if (oldPassword.find('\0') != std::string_view::npos) return PasswordChange::OldPasswordRefused;
  try {
    static const PamLibrary pam;
    Answers answers{SecretText(oldPassword), SecretText(newPassword),
                    getuid() != 0 && !oldPassword.empty()};
    const pam_conv conversation{converse, &answers};
    const std::string configuration = hostPath(options, "/etc/pam.d");
    pam_handle_t* handle = nullptr;
    int status = pam.start("passwd", loginName.c_str(), &conversation,
                           options.root.empty() ? nullptr : configuration.c_str(), &handle);
    if (status != PAM_SUCCESS) return PasswordChange::Unavailable;
    status = pam.change(handle, 0);
    pam.end(handle, status);
    return meaning(status);
  } catch (const PlatformException&) {
    return PasswordChange::Unavailable;
  }
}

}  // namespace gatehall::local
