#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <utility>

#include "gatehall/base/PlatformException.h"
#include "gatehall/base/Value.h"
#include "linux/files/HostOptions.h"

namespace gatehall {

/// A method of an object on the bus, or a property.
struct BusMethod {
  std::string service;
  std::string path;
  std::string interface;
  std::string member;
};

/// A call that failed. The text says which call to which service and why, fit for a log line.
class BusError : public PlatformException {
 public:
  BusError(const std::string& text, std::string name)
      : PlatformException(text), mName(std::move(name)) {}

  /// The D-Bus error name, or that of the errno(3) number.
  const std::string& name() const { return mName; }

 private:
  std::string mName;
};

/// A connection to the system bus for one operation, which ends by its deadline whatever the bus
/// and its services do. Maps libsystemd. On one thread.
class SystemBus {
 public:
  using Deadline = std::chrono::steady_clock::time_point;

  /// Connects. Raises BusError when the bus does not welcome the connection within the host's time
  /// limit for a call.
  SystemBus(const HostOptions& options, Deadline deadline);
  ~SystemBus();
  SystemBus(const SystemBus&) = delete;
  SystemBus& operator=(const SystemBus&) = delete;

  /// Calls with texts as arguments and waits for the answer: its values in order. Whole numbers are
  /// integers (those beyond 63 bits reals), texts, object paths and signatures strings, structures
  /// arrays, variants what they hold, arrays of entries with text keys dictionaries. Raises
  /// BusError for an error, an answer that comes too late, and one that can't be read.
  Array call(const BusMethod& method, const Strings& arguments = {});

  /// The value of an object's property, whose name stands in the member's place. Raises as call.
  Value property(const BusMethod& property);

 private:
  struct Connection;

  std::chrono::microseconds callLimit() const;
  Array exchange(const BusMethod& method, const Strings& arguments, const BusMethod& subject);

  std::chrono::milliseconds mCallTimeout;
  Deadline mDeadline;
  std::unique_ptr<Connection> mConnection;
};

}  // namespace gatehall
