#include <cerrno>
#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <pthread.h>
#include <security/pam_ext.h>
#include <security/pam_modules.h>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include "pam/door/Arguments.h"
#include "pam/door/Message.h"
#include "pam/door/Services.h"
#include "pam/module/DecisionProcess.h"

/// The PAM module, pam_gatehall(8): account management by the login rules.
///
/// It is loaded into programs of all kinds, and leaves nothing behind in them: what decides is a
/// program of its own. This much runs in theirs, and needs nothing but the C library.

namespace gatehall::pam {

namespace {

constexpr const char* kProgram = GATEHALL_DECIDE;
constexpr std::size_t kMostArguments = 16;

std::string_view item(pam_handle_t* handle, int which) {
  const void* value = nullptr;
  if (pam_get_item(handle, which, &value) != PAM_SUCCESS || value == nullptr) return {};
  return static_cast<const char*>(value);
}

/// One line for the system log. syslog(3) would keep a descriptor open, and has the program's name.
[[gnu::format(printf, 1, 2)]] void logLine(const char* format, ...) {
  char text[512];
  const int head = snprintf(text, sizeof text, "<%d>pam_gatehall[%d]: ", LOG_AUTHPRIV | LOG_NOTICE,
                            static_cast<int>(getpid()));
  std::va_list values;
  va_start(values, format);
  const int rest =
      vsnprintf(text + head, sizeof text - static_cast<std::size_t>(head), format, values);
  va_end(values);
  if (rest < 0) return;
  for (char* each = text + head; *each != '\0'; ++each) {
    if (*each < ' ' || *each > '~') *each = '?';
  }
  const int log = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (log < 0) return;
  sockaddr_un address{.sun_family = AF_UNIX, .sun_path = "/dev/log"};
  sendto(log, text, strnlen(text, sizeof text), MSG_DONTWAIT | MSG_NOSIGNAL,
         reinterpret_cast<const sockaddr*>(&address), sizeof address);
  close(log);
}

/// Whether it is a virtual terminal, which has the letters of few scripts.
bool isConsole(std::string_view terminal) {
  constexpr std::string_view kFolder = "/dev/";
  constexpr std::string_view kName = "tty";
  if (terminal.starts_with(kFolder)) terminal.remove_prefix(kFolder.size());
  if (!terminal.starts_with(kName)) return false;
  terminal.remove_prefix(kName.size());
  for (const char each : terminal) {
    if (each < '0' || each > '9') return false;
  }
  return !terminal.empty();
}

/// The locale of the program's messages, or of the environment that the person is to have.
std::string_view language(pam_handle_t* handle) {
  const char* locale = setlocale(LC_MESSAGES, nullptr);
  if (locale != nullptr && std::string_view(locale) != "C" && std::string_view(locale) != "POSIX") {
    return locale;
  }
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* value = pam_getenv(handle, name);
    if (value != nullptr && *value != '\0') return value;
  }
  // Whoever has the terminal show the machine's language says so.
  if (isConsole(item(handle, PAM_TTY))) return "C";
  return {};
}

/// False when a text doesn't fit.
bool fill(Question& question, pam_handle_t* handle, const char* user, std::string_view service,
          const Arguments& arguments) {
  question.isLocal = isLocalDoor(service, item(handle, PAM_RHOST)) ? 1 : 0;
  question.hours = arguments.hours ? 1 : 0;
  question.admitsUndecidable = arguments.admitsUndecidable ? 1 : 0;
  if (!question.language.set(language(handle))) question.language.set({});
  question.fault.set({});
  if (arguments.fault != nullptr) {
    char text[192];
    snprintf(text, sizeof text, "\"%.*s\" %s", static_cast<int>(arguments.faulty.size()),
             arguments.faulty.data(), arguments.fault);
    if (!question.fault.set(text)) return false;
  }
  return question.userName.set(user) && question.service.set(service);
}

/// The answer when there is none. Whoever looks after the machine gets in all the same.
Verdict withoutAnswer(const char* user, std::string_view service, bool isLocal, const char* why) {
  logLine("%.*s: %s: undecidable: %s", static_cast<int>(service.size()), service.data(), user, why);
  return isLocal && std::string_view(user) == "root" ? Verdict::Admitted : Verdict::Undecidable;
}

int decide(pam_handle_t* handle, bool isSilent, std::string_view service,
           const Arguments& arguments) {
  const char* user = nullptr;
  if (const int status = pam_get_user(handle, &user, nullptr); status != PAM_SUCCESS) return status;
  if (user == nullptr || *user == '\0') return PAM_USER_UNKNOWN;

  Question question;
  Answer answer;
  answer.sentence.set({});
  const char* fault = fill(question, handle, user, service, arguments)
                          ? askDecisionProcess(kProgram, question, answer)
                          : "a name is too long";
  if (fault != nullptr) {
    answer.verdict = withoutAnswer(user, service, question.isLocal == 1, fault);
    answer.sentence.set("It can't be told now whether you may log in on this computer.");
  }
  if (answer.verdict == Verdict::Admitted) return PAM_SUCCESS;
  // The program's own word only: limits of the caller's can keep it from saying one.
  const bool isInDoubt = fault == nullptr && answer.verdict == Verdict::Undecidable;
  if (isInDoubt && arguments.admitsUndecidable) return PAM_SUCCESS;
  // Not as an error: lightdm-gtk-greeter shows words of its own, of a wrong password, instead.
  if (!isSilent) pam_info(handle, "%s", answer.sentence.bytes.data());
  return answer.verdict == Verdict::Unknown ? PAM_USER_UNKNOWN : PAM_PERM_DENIED;
}

}  // namespace

}  // namespace gatehall::pam

extern "C" [[gnu::visibility("default")]] int pam_sm_acct_mgmt(pam_handle_t* pamh, int flags,
                                                               int argc, const char** argv) {
  namespace pam = gatehall::pam;
  const int error = errno;
  std::string_view read[pam::kMostArguments];
  const auto most = static_cast<std::size_t>(argc) < pam::kMostArguments
                        ? static_cast<std::size_t>(argc)
                        : pam::kMostArguments;
  for (std::size_t index = 0; index < most; ++index) read[index] = argv[index];
  const auto arguments = pam::readArguments({read, most});
  const auto service = pam::item(pamh, PAM_SERVICE);
  if (!pam::guards(arguments, service)) return PAM_IGNORE;

  const bool isSilent = (static_cast<unsigned>(flags) & PAM_SILENT) != 0;
  // A thread that is cancelled in here would leave a socket behind.
  int cancelling = 0;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelling);
  const int status = pam::decide(pamh, isSilent, service, arguments);
  pthread_setcancelstate(cancelling, nullptr);
  errno = error;
  return status;
}
