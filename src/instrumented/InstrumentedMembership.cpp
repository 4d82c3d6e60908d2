#include <utility>

#include "base/Ascii.h"
#include "instrumented/InstrumentedServices.h"

namespace gatehall::instrumented {

namespace {

constexpr int kFailed = 1;

std::string hexadecimal(const Identifier& identifier) {
  std::string text;
  for (const std::uint8_t byte : identifier) ascii::appendHexadecimal(text, byte);
  return text;
}

class InstrumentedMembership : public MembershipService {
 public:
  InstrumentedMembership(Platform& host, std::shared_ptr<Instrumentation> instruments)
      : mHost(host), mInstruments(std::move(instruments)) {}

  int guidToIdentifier(std::string_view guid, Identifier& identifier) override {
    const auto facts = [&] { return CallFacts{{{"guid", guid}}, {}, {std::string(guid)}, {}, {}}; };
    if (mInstruments->answersNothing("guidToIdentifier", facts)) return kFailed;
    return mHost.membership().guidToIdentifier(guid, identifier);
  }

  int userIDToIdentifier(std::uint32_t userID, Identifier& identifier) override {
    const auto facts = [&] {
      return CallFacts{{{"userID", static_cast<std::int64_t>(userID)}}, {}, {}, {}, [userID] {
                         return Strings{std::to_string(userID)};
                       }};
    };
    if (mInstruments->answersNothing("userIDToIdentifier", facts)) return kFailed;
    return mHost.membership().userIDToIdentifier(userID, identifier);
  }

  int checkServiceMembership(const Identifier& identifier, std::string_view service,
                             bool& isMember) override {
    const auto facts = [&] {
      return CallFacts{{{"service", service}, {"identifier", hexadecimal(identifier)}},
                       {},
                       {std::string(service)},
                       {},
                       {}};
    };
    if (mInstruments->answersNothing("checkServiceMembership", facts)) return kFailed;
    return mHost.membership().checkServiceMembership(identifier, service, isMember);
  }

 private:
  Platform& mHost;
  std::shared_ptr<Instrumentation> mInstruments;
};

}  // namespace

std::unique_ptr<MembershipService> membership(Platform& host,
                                              std::shared_ptr<Instrumentation> instruments) {
  return std::make_unique<InstrumentedMembership>(host, std::move(instruments));
}

}  // namespace gatehall::instrumented
