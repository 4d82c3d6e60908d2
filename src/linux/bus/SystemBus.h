#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "gatehall/base/PlatformException.h"
#include "gatehall/base/Value.h"
#include "linux/bus/BusMethod.h"
#include "linux/files/HostOptions.h"

namespace gatehall {

/// A call that failed. The text says which call to which service and why, fit for a log line.
class BusError : public PlatformException {
 public:
  BusError(const std::string& text, std::string name)
      : PlatformException(text), mName(std::move(name)) {}

  /// The D-Bus error name, or that of the errno(3) number.
  const std::string& name() const { return mName; }

  /// Whether there was no answer in time, so that what was asked for may still be done.
  bool isLate() const;

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

  /// Calls and waits for the answer: its values in order. Whole numbers are integers (those beyond
  /// 63 bits reals), texts, object paths and signatures strings, structures arrays, variants what
  /// they hold, arrays of entries with text keys dictionaries. The service may have somebody asked
  /// for a password meanwhile only if that is said. Raises BusError for an error, an answer that
  /// comes too late, and one that can't be read.
  Array call(const BusMethod& method, const BusArguments& arguments = {},
             bool allowsPasswords = false);

  /// The value of an object's property, whose name stands in the member's place. Raises as call.
  Value property(const BusMethod& property);

  /// Whether something holds by now, as services say that are asked for it.
  using Condition = std::function<bool()>;

  /// From now on a changed property of the service's objects, those below the path, ends the waits
  /// below, which then look again. Raises as call.
  void followProperties(const std::string& service, const std::string& path);

  /// Waits until that holds: it is looked at first, and again whenever a property is said to have
  /// changed, which anybody can say. False when it doesn't hold within the limit. Raises as call.
  bool waitUntil(const Condition& holds, std::chrono::milliseconds limit);

  /// Gives the operation at least that time from now on.
  void extend(std::chrono::milliseconds limit);

  /// Calls, and waits for the answer or until that holds, which is looked at whenever a property is
  /// said to have changed, whichever comes first. Has all the time that the operation has. Raises
  /// as call.
  void callUntil(const BusMethod& method, const BusArguments& arguments, const Condition& holds);

 private:
  struct Connection;
  struct Message;

  std::chrono::microseconds callLimit() const;
  Message request(const BusMethod& method, const BusArguments& arguments,
                  const BusMethod& subject) const;
  Array exchange(const Message& question, const BusMethod& subject);
  Message next(Deadline deadline);

  std::chrono::milliseconds mCallTimeout;
  Deadline mDeadline;
  std::unique_ptr<Connection> mConnection;
};

}  // namespace gatehall
