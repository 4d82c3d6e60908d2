#include "instrumented/InstrumentedPlatform.h"

#include <utility>

#include "instrumented/InstrumentedServices.h"

namespace gatehall {

InstrumentedPlatform::InstrumentedPlatform(std::shared_ptr<Platform> host,
                                           std::vector<Fault> faults, std::shared_ptr<Trace> trace,
                                           Substitutes substitutes)
    : mHost(std::move(host)), mSubstitutes(std::move(substitutes)) {
  const auto instruments = std::make_shared<Instrumentation>(std::move(faults), std::move(trace));
  mProcess = instrumented::process(*mHost, instruments);
  mDirectory = instrumented::directory(*mHost, instruments);
  mSessions = instrumented::sessions(*mHost, instruments);
  mLoginService = instrumented::loginService(*mHost, mSubstitutes.loginService, instruments);
  mMembership = instrumented::membership(*mHost, instruments);
  mPreferences = instrumented::preferences(*mHost, mSubstitutes.preferences, instruments);
  mPropertyLists = instrumented::propertyLists(*mHost, mSubstitutes.propertyLists, instruments);
  mParentalControls = instrumented::parentalControls(*mHost, instruments);
}

InstrumentedPlatform::~InstrumentedPlatform() = default;

Process& InstrumentedPlatform::process() { return *mProcess; }

DirectoryService& InstrumentedPlatform::directory() { return *mDirectory; }

SessionService& InstrumentedPlatform::sessions() { return *mSessions; }

LoginService& InstrumentedPlatform::loginService() { return *mLoginService; }

MembershipService& InstrumentedPlatform::membership() { return *mMembership; }

PreferenceStore& InstrumentedPlatform::preferences() { return *mPreferences; }

PropertyListReader& InstrumentedPlatform::propertyLists() { return *mPropertyLists; }

NotificationCenter& InstrumentedPlatform::notificationCenter() {
  return mHost->notificationCenter();
}

NotificationCenter& InstrumentedPlatform::distributedNotificationCenter() {
  return mHost->distributedNotificationCenter();
}

Clock& InstrumentedPlatform::clock() { return mHost->clock(); }

Log& InstrumentedPlatform::log() { return mSubstitutes.log ? *mSubstitutes.log : mHost->log(); }

Collation& InstrumentedPlatform::collation() { return mHost->collation(); }

ParentalControls& InstrumentedPlatform::parentalControls() {
  // A host without parental controls is still one: it raises here.
  mHost->parentalControls();
  return *mParentalControls;
}

SystemNotifications& InstrumentedPlatform::systemNotifications() {
  return mHost->systemNotifications();
}

RunLoop& InstrumentedPlatform::runLoop() { return mHost->runLoop(); }

TextSystem& InstrumentedPlatform::text() {
  return mSubstitutes.text ? *mSubstitutes.text : mHost->text();
}

Markup& InstrumentedPlatform::markup() { return mHost->markup(); }

}  // namespace gatehall
