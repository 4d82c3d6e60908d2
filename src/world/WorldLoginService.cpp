#include "world/WorldLoginService.h"

#include <optional>
#include <string>
#include <string_view>

#include "gatehall/platform/AttributeKinds.h"

namespace gatehall {

namespace {

/// The attribute's first text, "" when there is none.
std::string firstText(const Dictionary& attributes, std::string_view kind) {
  const auto found = attributes.find(kind);
  if (found == attributes.end()) return {};
  const auto* values = found->second.array();
  if (values == nullptr) return found->second.description();
  return values->empty() ? std::string() : values->front().description();
}

}  // namespace

std::int32_t WorldLoginService::switchToLoginScreen() {
  RecordingLoginService::switchToLoginScreen();
  mSessions.clearCurrent();
  return 0;
}

std::int32_t WorldLoginService::switchToUser(const Dictionary& attributes) {
  RecordingLoginService::switchToUser(attributes);
  if (accepts(attributes)) {
    const auto userID = integerPrefix(firstText(attributes, attribute::UniqueID));
    mSessions.bringToFront(static_cast<std::int32_t>(userID),
                           firstText(attributes, attribute::RecordName));
  } else {
    mSessions.clearCurrent();
  }
  return 0;
}

bool WorldLoginService::accepts(const Dictionary& attributes) const {
  if (!attributes.contains(kUserPasswordKey)) return false;
  const auto session = mDirectory.defaultSession();
  if (session == nullptr) return false;
  const auto node = session->nodeByName(firstText(attributes, attribute::MetaNodeLocation));
  if (node == nullptr) return false;
  const auto account =
      node->recordByTypeAndName(record::Users, firstText(attributes, attribute::RecordName), {});
  DirectoryError error;
  return account != nullptr &&
         account->verifyPassword(firstText(attributes, kUserPasswordKey), error);
}

}  // namespace gatehall
