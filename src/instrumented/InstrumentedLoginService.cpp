#include <utility>

#include "gatehall/platform/AttributeKinds.h"
#include "instrumented/InstrumentedServices.h"

namespace gatehall::instrumented {

namespace {

constexpr std::int32_t kNotPerformed = 1;

/// The first of an attribute's values.
const std::string* firstValue(const Dictionary& attributes, std::string_view kind) {
  const auto found = attributes.find(kind);
  if (found == attributes.end()) return nullptr;
  const Array* const values = found->second.array();
  if (values == nullptr) return found->second.string();
  return values->empty() ? nullptr : values->front().string();
}

class InstrumentedLoginService : public LoginService {
 public:
  InstrumentedLoginService(Platform& host, std::shared_ptr<LoginService> substitute,
                           std::shared_ptr<Instrumentation> instruments)
      : mHost(host), mSubstitute(std::move(substitute)), mInstruments(std::move(instruments)) {}

  std::int32_t switchToLoginScreen() override {
    if (mInstruments->answersNothing("switchToLoginScreen")) return kNotPerformed;
    return performer().switchToLoginScreen();
  }

  std::int32_t switchToUser(const Dictionary& attributes) override {
    const auto facts = [&] {
      CallFacts described;
      const std::string* const name = firstValue(attributes, attribute::RecordName);
      if (name != nullptr) described.arguments.emplace("user", *name);
      if (attributes.contains(kUserPasswordKey)) {
        described.arguments.emplace(kUserPasswordKey, true);
      }
      described.users = [&attributes, name] {
        Strings users;
        if (name != nullptr) users.push_back(*name);
        const std::string* const userID = firstValue(attributes, attribute::UniqueID);
        if (userID != nullptr) users.push_back(*userID);
        return users;
      };
      return described;
    };
    if (mInstruments->answersNothing("switchToUser", facts)) return kNotPerformed;
    return performer().switchToUser(attributes);
  }

 private:
  LoginService& performer() const { return mSubstitute ? *mSubstitute : mHost.loginService(); }

  Platform& mHost;
  std::shared_ptr<LoginService> mSubstitute;
  std::shared_ptr<Instrumentation> mInstruments;
};

}  // namespace

std::unique_ptr<LoginService> loginService(Platform& host, std::shared_ptr<LoginService> substitute,
                                           std::shared_ptr<Instrumentation> instruments) {
  return std::make_unique<InstrumentedLoginService>(host, std::move(substitute),
                                                    std::move(instruments));
}

}  // namespace gatehall::instrumented
