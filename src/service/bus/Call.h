#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "gatehall/base/PlatformException.h"
#include "linux/bus/SdBus.h"
#include "service/bus/MessageWriter.h"
#include "service/bus/Places.h"
#include "service/bus/Unread.h"

namespace gatehall::service {

/// A method call that waits for its answer.
class Call : public std::enable_shared_from_this<Call> {
 public:
  /// Of a message that is held for as long as the call. The place is taken as long.
  Call(sd_bus& bus, Unread& unread, sd_bus_message* message, std::uint32_t userID,
       Places::Place place);

  sd_bus_message* message() const { return mMessage.get(); }
  const std::string& client() const { return mClient; }  ///< its unique name
  std::uint32_t userID() const { return mUserID; }

  /// The next argument, of that type (sd_bus_message_read_basic(3)). Raises PlatformException.
  template <class T>
  T argument(char type) const {
    T value{};
    read(type, &value);
    return value;
  }

  /// Answers with what the function appends; with an error when it raises a PlatformException. The
  /// function is called as soon as the client has room for it.
  void answer(std::function<void(MessageWriter&)> append);

  /// Answers with an error.
  void refuse(const std::string& error, const std::string& text);

  /// Answers any call with an error, and tells how many bytes that took. Where that can't be sent,
  /// the connection is lost.
  static std::size_t refuse(sd_bus& bus, sd_bus_message* call, const std::string& error,
                            const std::string& text);

  /// Raises PlatformException.
  static void send(sd_bus& bus, sd_bus_message* message);

 private:
  void read(char type, void* value) const;
  std::size_t answerNow(const std::function<void(MessageWriter&)>& append) const;

  sd_bus& mBus;
  Unread& mUnread;
  const SdBusMessage mMessage;
  const std::string mClient;
  const std::uint32_t mUserID;
  const Places::Place mPlace;
};

}  // namespace gatehall::service
