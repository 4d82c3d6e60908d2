#include "service/bus/Call.h"

#include <system_error>
#include <utility>

namespace gatehall::service {

namespace {

/// About what a message's header takes.
constexpr std::size_t kHeader = 256;

void check(int result) {
  if (result >= 0) return;
  throw PlatformException("Unable to answer a call: " + std::generic_category().message(-result));
}

std::string senderOf(sd_bus_message* message) {
  const auto* sender = sdBus().message_get_sender(message);
  return sender == nullptr ? "" : sender;
}

}  // namespace

Call::Call(sd_bus& bus, Unread& unread, sd_bus_message* message, std::uint32_t userID,
           Places::Place place)
    : mBus(bus),
      mUnread(unread),
      mMessage(sdBus().message_ref(message)),
      mClient(senderOf(message)),
      mUserID(userID),
      mPlace(std::move(place)) {}

void Call::read(char type, void* value) const {
  check(sdBus().message_read_basic(mMessage.get(), type, value));
}

void Call::answer(std::function<void(MessageWriter&)> append) {
  mUnread.send(mClient, mUserID, [call = shared_from_this(), append = std::move(append)] {
    return call->answerNow(append);
  });
}

std::size_t Call::answerNow(const std::function<void(MessageWriter&)>& append) const try {
  sd_bus_message* raw = nullptr;
  check(sdBus().message_new_method_return(mMessage.get(), &raw));
  const SdBusMessage reply(raw);
  MessageWriter writer(raw);
  append(writer);
  send(mBus, raw);
  return kHeader + writer.size();
} catch (const PlatformException& failure) {
  return refuse(mBus, message(), SD_BUS_ERROR_FAILED, failure.what());
}

void Call::refuse(const std::string& error, const std::string& text) {
  mUnread.send(mClient, mUserID, [call = shared_from_this(), error, text] {
    return refuse(call->mBus, call->message(), error, text);
  });
}

std::size_t Call::refuse(sd_bus& bus, sd_bus_message* call, const std::string& error,
                         const std::string& text) {
  const auto message = forMessage(text);
  const sd_bus_error content{error.c_str(), message.c_str(), 0};
  sd_bus_message* reply = nullptr;
  if (sdBus().message_new_method_error(call, &reply, &content) < 0) return 0;
  sdBus().send(&bus, SdBusMessage(reply).get(), nullptr);
  return kHeader + message.size();
}

void Call::send(sd_bus& bus, sd_bus_message* message) {
  check(sdBus().send(&bus, message, nullptr));
}

}  // namespace gatehall::service
