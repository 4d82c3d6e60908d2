#pragma once

#include "pam/door/Message.h"

namespace gatehall::pam {

/// Has a process of its own decide. It shares nothing with the process that calls, which may have
/// threads, any limits and any credentials: no descriptor, environment, signal handler or folder,
/// and it is not that one's child, so that nobody is told of its end (but a process that takes in
/// orphans: the first one, and those of PR_SET_CHILD_SUBREAPER). Whatever happens the answer
/// is there, or known to be missing, when that many seconds are over.
///
/// nullptr, or why there is no answer.
const char* askDecisionProcess(const char* program, const Question& question, Answer& answer,
                               unsigned longest = kLongestDecision);

}  // namespace gatehall::pam
