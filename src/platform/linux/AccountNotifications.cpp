#include "platform/linux/AccountNotifications.h"

#include <optional>
#include <string>

#include "platform/PlatformException.h"
#include "platform/linux/AccountLookup.h"

namespace gatehall {

void AccountNotifications::post(std::uint32_t userID, std::string_view notification,
                                std::string_view key, std::string_view kind) {
  mRunLoop.detachNewThread([this, userID, notification, key, kind] {
    std::optional<std::string> value;
    try {
      value = accountAttribute(mDirectory, userID, kind);
    } catch (const PlatformException& failure) {
      mLog.error("Unable to find user " + std::to_string(userID) + ": " + failure.what());
    }
    if (!value) return;
    mRunLoop.post([this, notification, userInfo = Dictionary{{std::string(key), *value}}] {
      mDistributed.post({std::string(notification), userInfo});
    });
  });
}

}  // namespace gatehall
