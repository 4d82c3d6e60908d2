#pragma once

#include "linux/bus/SystemBus.h"
#include "linux/switch/SwitchDecision.h"

/// What is asked of a display manager on the bus. Raises BusError.
namespace gatehall::displayManagerCalls {

/// The display manager that is on the bus; nothing is started by asking.
switchDecision::DisplayManager find(SystemBus& bus);

/// Performs the step, which is not Impossible, and waits until the display manager answers or the
/// step is seen to be done.
void perform(SystemBus& bus, switchDecision::Step step, const switchDecision::Target& target,
             const SystemBus::Condition& isDone);

}  // namespace gatehall::displayManagerCalls
