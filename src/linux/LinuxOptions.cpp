#include "gatehall/linux/LinuxOptions.h"

#include <utility>

#include "linux/files/HostOptions.h"

namespace gatehall {

LinuxOptions::LinuxOptions() : mValues(std::make_unique<HostOptions>()) {}

LinuxOptions::LinuxOptions(const LinuxOptions& other)
    : mValues(std::make_unique<HostOptions>(*other.mValues)) {}

LinuxOptions& LinuxOptions::operator=(const LinuxOptions& other) {
  *mValues = *other.mValues;
  return *this;
}

LinuxOptions::~LinuxOptions() = default;

void LinuxOptions::setRoot(std::string root) { mValues->root = std::move(root); }

void LinuxOptions::setSystemBusAddress(std::string address) {
  mValues->systemBusAddress = std::move(address);
}

void LinuxOptions::setCallTimeout(std::chrono::milliseconds timeout) {
  mValues->callTimeout = timeout;
}

void LinuxOptions::setSessionLimits(bool areAsked) { mValues->sessionLimits = areAsked; }

void LinuxOptions::setRunning(bool isRunning) { mValues->isRunning = isRunning; }

}  // namespace gatehall
