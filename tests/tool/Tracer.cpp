#include "tests/tool/Tracer.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <sys/ptrace.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <system_error>

namespace gatehall {

namespace {

constexpr int kSystemCallStop = SIGTRAP | 0x80;

void* data(std::uint64_t value) { return reinterpret_cast<void*>(value); }

bool isStopSignal(int signal) {
  return signal == SIGSTOP || signal == SIGTSTP || signal == SIGTTIN || signal == SIGTTOU;
}

}  // namespace

std::string SystemCall::text(std::size_t argument) const {
  std::array<char, 256> room{};
  const iovec local{room.data(), room.size() - 1};
  // No further than the page: what is behind it may not be there.
  const auto start = arguments[argument];
  const std::uint64_t left = 4096 - start % 4096;
  const iovec remote{data(start), std::min<std::uint64_t>(room.size() - 1, left)};
  if (process_vm_readv(process, &local, 1, &remote, 1, 0) <= 0) return {};
  return room.data();
}

int Tracer::follow(pid_t tool) {
  int status = 0;
  waitpid(tool, &status, WUNTRACED);
  constexpr auto kOptions = PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK |
                            PTRACE_O_TRACECLONE | PTRACE_O_TRACEEXEC | PTRACE_O_EXITKILL;
  if (!WIFSTOPPED(status) || ptrace(PTRACE_SEIZE, tool, nullptr, data(kOptions)) != 0) {
    throw std::system_error(errno, std::generic_category(), "ptrace");
  }
  kill(tool, SIGCONT);
  mTraced = {tool};
  mMonitors.clear();
  mIsTool = false;
  int ended = 0;
  while (!mTraced.empty()) {
    const pid_t process = waitpid(-1, &status, __WALL);
    if (process < 0) break;
    if (WIFSTOPPED(status)) {
      handle(process, status);
      continue;
    }
    mTraced.erase(process);
    if (process == tool) ended = status;
  }
  return ended;
}

void Tracer::handle(pid_t process, int status) {
  mTraced.insert(process);
  const int signal = WSTOPSIG(status);
  const int event = status >> 16;
  const auto resume = mIsTool ? PTRACE_SYSCALL : PTRACE_CONT;
  std::uint64_t delivered = 0;
  if (event == PTRACE_EVENT_STOP && isStopSignal(signal)) {
    ptrace(PTRACE_LISTEN, process, nullptr, nullptr);
    if (mContinuesStopped || !mMonitors.contains(process)) kill(process, SIGCONT);
    return;
  }
  if (event == PTRACE_EVENT_EXEC) {
    mIsTool = true;
    ptrace(PTRACE_SYSCALL, process, nullptr, nullptr);
    return;
  }
  if (event == PTRACE_EVENT_FORK) {
    unsigned long made = 0;
    ptrace(PTRACE_GETEVENTMSG, process, nullptr, &made);
    mMonitors.insert(static_cast<pid_t>(made));
    mTraced.insert(static_cast<pid_t>(made));
  } else if (event == 0 && signal == kSystemCallStop) {
    visit(process);
  } else if (event == 0) {
    delivered = static_cast<std::uint64_t>(signal);
  }
  ptrace(resume, process, nullptr, data(delivered));
}

void Tracer::visit(pid_t process) {
  __ptrace_syscall_info info{};
  if (ptrace(PTRACE_GET_SYSCALL_INFO, process, data(sizeof info), &info) <= 0 ||
      info.op != PTRACE_SYSCALL_INFO_ENTRY) {
    return;
  }
  SystemCall call{process, mMonitors.contains(process), info.entry.nr, {}};
  for (std::size_t index = 0; index < call.arguments.size(); ++index) {
    call.arguments[index] = info.entry.args[index];
  }
  mVisit(call);
}

}  // namespace gatehall
