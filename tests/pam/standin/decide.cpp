#include <csignal>
#include <cstdlib>
#include <dirent.h>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include "pam/door/Message.h"

/// Decides by the user's name, or goes wrong as it says: for tests of the module.

namespace {

using namespace gatehall::pam;

std::size_t openDescriptors() {
  std::size_t count = 0;
  auto* folder = opendir("/proc/self/fd");
  while (const auto* entry = readdir(folder)) {
    if (entry->d_name[0] != '.') ++count;
  }
  closedir(folder);
  return count - 1;  // the folder itself
}

/// What the program finds itself in.
std::string surroundings() {
  char folder[4096];
  const bool isTop = getcwd(folder, sizeof folder) != nullptr && std::string(folder) == "/";
  return std::to_string(openDescriptors()) + " descriptors, " +
         (environ == nullptr || *environ == nullptr ? "no environment" : "an environment") +
         (isTop ? ", at /" : ", elsewhere") +
         (getsid(0) == getpid() ? ", a session of its own" : ", in a session");
}

void reply(Verdict verdict, std::string_view sentence) {
  Answer answer{};
  answer.verdict = verdict;
  answer.sentence.set(sentence);
  send(STDIN_FILENO, &answer, sizeof answer, MSG_NOSIGNAL);
}

}  // namespace

int main() {
  // A mute one is not to outlive its test for long.
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  alarm(60);
  Question question{};
  if (recv(STDIN_FILENO, &question, sizeof question, MSG_TRUNC) != ssize_t{sizeof question}) {
    return EXIT_FAILURE;
  }
  const std::string user(question.userName.value());
  if (user == "admitted") reply(Verdict::Admitted, "");
  if (user == "refused") reply(Verdict::Refused, "Not you.");
  if (user == "unknown") reply(Verdict::Unknown, "Who?");
  if (user == "undecidable") reply(Verdict::Undecidable, "Who knows.");
  if (user == "surroundings") reply(Verdict::Refused, surroundings());
  if (user == "asked") {
    reply(Verdict::Refused,
          std::string(question.service.value()) + (question.isLocal == 1 ? ", local" : ", remote") +
              (question.hours == 1 ? ", hours" : "") +
              (question.admitsUndecidable == 1 ? ", doubt admits" : "") + ", " +
              std::string(question.language.value()) + ", " + std::string(question.fault.value()));
  }
  if (user == "mute") pause();
  if (user == "brief") send(STDIN_FILENO, "yes", 3, MSG_NOSIGNAL);
  if (user == "odd") reply(Verdict{77}, "");
  if (user == "endless") {
    Answer answer{};
    answer.verdict = Verdict::Admitted;
    answer.sentence.bytes.fill('x');
    send(STDIN_FILENO, &answer, sizeof answer, MSG_NOSIGNAL);
  }
  if (user == "long") {
    char much[2 * sizeof(Answer)] = {3};
    send(STDIN_FILENO, much, sizeof much, MSG_NOSIGNAL);
  }
  return EXIT_SUCCESS;  // whoever is somebody else gets no answer
}
