#pragma once

#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <systemd/sd-bus.h>
#include <vector>

namespace gatehall::greeter {

/// A service on a bus of a test's own, which answers while the test has it serve.
class AnsweringService {
 public:
  /// Answers a call, with 0 or more, or leaves it without an answer.
  using Answer = std::function<int(sd_bus_message* call)>;

  AnsweringService(const std::string& address, const char* name) {
    require(sd_bus_new(&mBus));
    require(sd_bus_set_address(mBus, address.c_str()));
    require(sd_bus_set_bus_client(mBus, 1));
    require(sd_bus_start(mBus));
    require(sd_bus_add_filter(mBus, nullptr, &onMessage, this));
    require(sd_bus_request_name(mBus, name, 0));
  }
  ~AnsweringService() { sd_bus_flush_close_unref(mBus); }
  AnsweringService(const AnsweringService&) = delete;
  AnsweringService& operator=(const AnsweringService&) = delete;

  /// Answers what was asked so far.
  void serve() const {
    while (sd_bus_process(mBus, nullptr) > 0) {
    }
  }

  void emit(const char* path, const char* interface, const char* member) const {
    require(sd_bus_emit_signal(mBus, path, interface, member, ""));
  }

  std::map<std::string, Answer> answers;  ///< by the method's name
  std::vector<std::string> calls;         ///< those that came, whatever became of them

 private:
  static void require(int result) {
    if (result < 0) throw std::runtime_error("no bus");
  }

  static int onMessage(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
    if (sd_bus_message_is_method_call(message, nullptr, nullptr) <= 0) return 0;
    auto& service = *static_cast<AnsweringService*>(self);
    const std::string member = sd_bus_message_get_member(message);
    service.calls.push_back(member);
    const auto found = service.answers.find(member);
    if (found == service.answers.end()) {
      return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_UNKNOWN_METHOD, "No %s",
                                        member.c_str());
    }
    require(found->second(message));
    return 1;
  }

  sd_bus* mBus = nullptr;
};

}  // namespace gatehall::greeter
