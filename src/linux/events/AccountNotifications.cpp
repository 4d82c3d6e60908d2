#include "linux/events/AccountNotifications.h"

#include <optional>
#include <string>
#include <utility>

#include "gatehall/base/PlatformException.h"
#include "linux/records/AccountLookup.h"

namespace gatehall {

void AccountNotifications::post(std::uint32_t userID, std::string_view notification,
                                std::string_view key, std::string_view kind) {
  const std::scoped_lock lock(mWaiting->mutex);
  mWaiting->questions.push_back({userID, notification, key, kind});
  if (mWaiting->isAnswered) return;
  try {
    mRunLoop.detachNewThread([self = *this]() mutable { self.answerAll(); });
    mWaiting->isAnswered = true;
  } catch (const PlatformException& failure) {
    mWaiting->questions.clear();
    mLog.error(failure.what());
  }
}

void AccountNotifications::answerAll() {
  for (;;) {
    Question question;
    {
      const std::scoped_lock lock(mWaiting->mutex);
      mWaiting->isAnswered = !mWaiting->questions.empty();
      if (!mWaiting->isAnswered) return;
      question = mWaiting->questions.front();
      mWaiting->questions.pop_front();
    }
    answer(question);
  }
}

void AccountNotifications::answer(const Question& question) {
  std::optional<std::string> value;
  try {
    value = accountAttribute(mDirectory, question.userID, question.kind);
  } catch (const PlatformException& failure) {
    mLog.error("Unable to find user " + std::to_string(question.userID) + ": " + failure.what());
  }
  if (!value) return;
  Notification notification{std::string(question.notification),
                            Dictionary{{std::string(question.key), *value}}};
  mRunLoop.post([&distributed = mDistributed, notification = std::move(notification)] {
    distributed.post(notification);
  });
}

}  // namespace gatehall
