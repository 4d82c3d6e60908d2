#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "gatehall/platform/LoginService.h"

namespace gatehall {

/// A login service that accepts every request, performs none and keeps them, in order.
class RecordingLoginService : public LoginService {
 public:
  struct Request {
    std::string operation;  ///< "switchToLoginScreen" or "switchToUser"
    /// As given, of switchToUser only; empty for switchToLoginScreen. UserPasswordKey is whole when
    /// it is the empty string (that no password is asked for is what it says) and otherwise the
    /// string "(not recorded)".
    Dictionary attributes;
    friend bool operator==(const Request&, const Request&) = default;
  };

  std::int32_t switchToLoginScreen() override;
  std::int32_t switchToUser(const Dictionary& attributes) override;

  /// What was asked for so far.
  std::vector<Request> requests() const;

 private:
  void append(Request request);

  mutable std::mutex mMutex;
  std::vector<Request> mRequests;
};

}  // namespace gatehall
