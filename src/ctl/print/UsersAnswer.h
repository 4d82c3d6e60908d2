#pragma once

#include <memory>
#include <string>

#include "ctl/print/Answer.h"
#include "gatehall/users/CachedUserList.h"
#include "instrumented/RecordingLog.h"

namespace gatehall::ctl {

/// The users and what was logged, as a document or for people. Without a list the one line of the
/// table is the given text.
Answer usersAnswer(const RecordingLog& log, bool inJson,
                   const std::shared_ptr<CachedUserList>& users, const std::string& withoutList);

}  // namespace gatehall::ctl
