#pragma once

#include <memory>

#include "gatehall/platform/Platform.h"
#include "instrumented/Instrumentation.h"

/// The services that InstrumentedPlatform puts in front of its host's. Each asks the host for its
/// service when an operation needs it, not earlier, so the host must outlive them; what they hand
/// out needs neither.
namespace gatehall::instrumented {

std::unique_ptr<DirectoryService> directory(Platform& host, std::shared_ptr<Instrumentation>);
std::unique_ptr<Process> process(Platform& host, std::shared_ptr<Instrumentation>);
std::unique_ptr<SessionService> sessions(Platform& host, std::shared_ptr<Instrumentation>);
/// A substitute takes the place of the host's service unless it is nullptr.
std::unique_ptr<LoginService> loginService(Platform& host, std::shared_ptr<LoginService> substitute,
                                           std::shared_ptr<Instrumentation>);
std::unique_ptr<MembershipService> membership(Platform& host, std::shared_ptr<Instrumentation>);
std::unique_ptr<ParentalControls> parentalControls(Platform& host,
                                                   std::shared_ptr<Instrumentation>);
std::unique_ptr<PreferenceStore> preferences(Platform& host,
                                             std::shared_ptr<PreferenceStore> substitute,
                                             std::shared_ptr<Instrumentation>);
std::unique_ptr<PropertyListReader> propertyLists(Platform& host,
                                                  std::shared_ptr<PropertyListReader> substitute,
                                                  std::shared_ptr<Instrumentation>);

}  // namespace gatehall::instrumented
