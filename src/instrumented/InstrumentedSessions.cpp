#include <utility>

#include "instrumented/InstrumentedServices.h"

namespace gatehall::instrumented {

namespace {

class InstrumentedProcess : public Process {
 public:
  InstrumentedProcess(Platform& host, std::shared_ptr<Instrumentation> instruments)
      : mHost(host), mInstruments(std::move(instruments)) {}

  std::uint32_t effectiveUserID() override {
    constexpr std::uint32_t kNobody = 0xFFFFFFFE;
    if (mInstruments->answersNothing("effectiveUserID")) return kNobody;
    return mHost.process().effectiveUserID();
  }
  void giveUpRights() override { mHost.process().giveUpRights(); }

 private:
  Platform& mHost;
  std::shared_ptr<Instrumentation> mInstruments;
};

class InstrumentedSessions : public SessionService {
 public:
  InstrumentedSessions(Platform& host, std::shared_ptr<Instrumentation> instruments)
      : mHost(host), mInstruments(std::move(instruments)) {}

  std::optional<Dictionary> copyCurrentSession() override {
    if (mInstruments->answersNothing("copyCurrentSession")) return std::nullopt;
    return mHost.sessions().copyCurrentSession();
  }

  std::optional<std::vector<std::optional<Dictionary>>> copySessionList() override {
    if (mInstruments->answersNothing("copySessionList")) return std::nullopt;
    return mHost.sessions().copySessionList();
  }

 private:
  Platform& mHost;
  std::shared_ptr<Instrumentation> mInstruments;
};

}  // namespace

std::unique_ptr<Process> process(Platform& host, std::shared_ptr<Instrumentation> instruments) {
  return std::make_unique<InstrumentedProcess>(host, std::move(instruments));
}

std::unique_ptr<SessionService> sessions(Platform& host,
                                         std::shared_ptr<Instrumentation> instruments) {
  return std::make_unique<InstrumentedSessions>(host, std::move(instruments));
}

}  // namespace gatehall::instrumented
