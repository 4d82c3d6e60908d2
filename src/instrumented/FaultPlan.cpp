#include "instrumented/FaultPlan.h"

#include <algorithm>
#include <utility>

#include "gatehall/base/PlatformException.h"
#include "gatehall/platform/AttributeKinds.h"

namespace gatehall {

namespace {

bool contains(const Strings& texts, std::string_view wanted) {
  return std::ranges::find(texts, wanted) != texts.end();
}

bool containsKind(const Strings& kinds, std::string_view wanted) {
  return std::ranges::any_of(kinds, [&](std::string_view kind) {
    return attribute::canonical(kind) == attribute::canonical(wanted);
  });
}

bool contains(const std::function<Strings()>& texts, std::string_view wanted) {
  return texts && contains(texts(), wanted);
}

bool matches(const Fault::Where& where, const CallFacts& facts) {
  return (!where.attribute || containsKind(facts.attributes, *where.attribute)) &&
         (!where.value || contains(facts.values, *where.value)) &&
         (!where.node || contains(facts.nodes, *where.node)) &&
         (!where.user || contains(facts.users, *where.user));
}

}  // namespace

FaultPlan::FaultPlan(std::vector<Fault> faults) {
  for (Fault& each : faults) {
    if (!isKnownOperation(each.operation)) {
      throw std::invalid_argument("There is no operation \"" + each.operation + "\" to fail.");
    }
    mEntries.push_back({std::move(each)});
  }
}

bool FaultPlan::concerns(std::string_view operation) const {
  return std::ranges::any_of(mEntries,
                             [&](const Entry& each) { return each.fault.operation == operation; });
}

bool FaultPlan::failsByAnsweringNothing(std::string_view operation, const CallFacts& facts) {
  const Fault* hit = nullptr;
  for (Entry& each : mEntries) {
    // Outside of the lock: the host may be asked.
    if (each.fault.operation != operation || !matches(each.fault.where, facts)) continue;
    const std::scoped_lock lock(mMutex);
    ++each.calls;
    if (hit == nullptr && (!each.fault.call || *each.fault.call == each.calls)) hit = &each.fault;
  }
  if (hit == nullptr) return false;
  const auto text = hit->text.value_or("Injected fault: " + hit->operation);
  switch (hit->kind) {
    case Fault::Kind::PlatformException:
      throw PlatformException(text);
    case Fault::Kind::OtherException:
      throw InjectedFailure(text);
    case Fault::Kind::Absent:
      break;
  }
  return true;
}

}  // namespace gatehall
