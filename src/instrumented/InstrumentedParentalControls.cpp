#include <utility>

#include "instrumented/InstrumentedServices.h"

namespace gatehall::instrumented {

namespace {

class InstrumentedParentalControls : public ParentalControls {
 public:
  InstrumentedParentalControls(Platform& host, std::shared_ptr<Instrumentation> instruments)
      : mHost(host), mInstruments(std::move(instruments)) {}

  bool mayLogInNow(std::uint32_t userID, std::int32_t& result,
                   std::optional<Date>& nextCurfew) override {
    const auto facts = [&] {
      return CallFacts{{{"userID", static_cast<std::int64_t>(userID)}}, {}, {}, {}, [userID] {
                         return Strings{std::to_string(userID)};
                       }};
    };
    if (mInstruments->answersNothing("mayLogInNow", facts)) {
      nextCurfew.reset();
      return true;
    }
    return mHost.parentalControls().mayLogInNow(userID, result, nextCurfew);
  }

 private:
  Platform& mHost;
  std::shared_ptr<Instrumentation> mInstruments;
};

}  // namespace

std::unique_ptr<ParentalControls> parentalControls(Platform& host,
                                                   std::shared_ptr<Instrumentation> instruments) {
  return std::make_unique<InstrumentedParentalControls>(host, std::move(instruments));
}

}  // namespace gatehall::instrumented
