#pragma once

#include "linux/process/MonitorMessage.h"

namespace gatehall {

/// What the monitor of a program that switches tells it (Monitor::Answerer).
void answerInMonitor(const MonitorMessage& question, MonitorMessage& answer);

}  // namespace gatehall
