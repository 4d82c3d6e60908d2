#include "instrumented/RecordingLoginService.h"

#include <utility>

namespace gatehall {

std::int32_t RecordingLoginService::switchToLoginScreen() {
  append({"switchToLoginScreen", {}});
  return 0;
}

std::int32_t RecordingLoginService::switchToUser(const Dictionary& attributes) {
  Dictionary kept;
  for (const auto& [kind, value] : attributes) {
    const auto* text = value.string();
    const bool secret = kind == kUserPasswordKey && (text == nullptr || !text->empty());
    kept.emplace(kind, secret ? Value("(not recorded)") : value);
  }
  append({"switchToUser", std::move(kept)});
  return 0;
}

std::vector<RecordingLoginService::Request> RecordingLoginService::requests() const {
  const std::scoped_lock lock(mMutex);
  return mRequests;
}

void RecordingLoginService::append(Request request) {
  const std::scoped_lock lock(mMutex);
  mRequests.push_back(std::move(request));
}

}  // namespace gatehall
