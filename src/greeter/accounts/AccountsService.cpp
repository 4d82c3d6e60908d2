#include "greeter/accounts/AccountsService.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

#include "gatehall/base/Value.h"
#include "linux/hours/AccountsServiceUser.h"

namespace gatehall::greeter {

namespace {

namespace service = accountsService;

constexpr std::size_t kLongestKey = 255;
constexpr std::size_t kLongestLocale = 64;
constexpr std::size_t kLongestHint = 256;

bool isControl(char character) {
  return static_cast<unsigned char>(character) < 0x20 || character == 0x7F;
}

/// A text of one line that isn't longer than that; else "".
std::string lineIn(const Dictionary& properties, const char* name, std::size_t longest) {
  const auto found = properties.find(name);
  const auto* text = found == properties.end() ? nullptr : found->second.string();
  if (text == nullptr || text->size() > longest || std::ranges::any_of(*text, isControl)) return {};
  return *text;
}

AccountPreferences preferencesIn(const Dictionary& properties) {
  AccountPreferences preferences{.session = lineIn(properties, "XSession", kLongestKey),
                                 .language = lineIn(properties, "Language", kLongestLocale),
                                 .passwordHint = lineIn(properties, "PasswordHint", kLongestHint)};
  // LightDM keeps it under the first name, others under the second.
  if (preferences.session.empty()) {
    preferences.session = lineIn(properties, "Session", kLongestKey);
  }
  return preferences;
}

const std::string* pathIn(const BusAnswer& answer) {
  if (!answer.error.empty() || answer.values.size() != 1) return nullptr;
  const auto* path = answer.values.front().string();
  return path != nullptr && service::userOf(*path) ? path : nullptr;
}

}  // namespace

AccountsService::AccountsService(MainLoop& runLoop, EventLoop& events, const HostOptions& options,
                                 Log& log)
    : mBus(runLoop, events, options, log), mLimit(options.callTimeout) {
  mBus.follow(service::kName, [](bool) {});
  mBus.start([this](bool) { decide(); }, [this](const std::string&) { decide(); });
}

void AccountsService::ask(const std::string& name, Handler handler) {
  if (mIsDecided) {
    find(name, handler);
  } else {
    mWaiting.emplace_back([this, name, handler = std::move(handler)] { find(name, handler); });
  }
}

void AccountsService::decide() {
  mIsDecided = true;
  for (const auto& question : std::exchange(mWaiting, {})) question();
}

/// The service has an object for every account that somebody looked for, not for every account.
void AccountsService::find(const std::string& name, const Handler& handler) {
  mBus.call({service::kName, service::kPath, service::kName, "FindUserByName"}, {name}, mLimit,
            [this, handler](const BusAnswer& answer) {
              if (const auto* path = pathIn(answer)) {
                read(*path, handler);
              } else {
                handler({});
              }
            });
}

void AccountsService::read(const std::string& path, const Handler& handler) {
  mBus.call({service::kName, path, "org.freedesktop.DBus.Properties", "GetAll"}, {service::kUser},
            mLimit, [handler](const BusAnswer& answer) {
              const auto* properties = answer.error.empty() && answer.values.size() == 1
                                           ? answer.values.front().dictionary()
                                           : nullptr;
              handler(properties == nullptr ? AccountPreferences() : preferencesIn(*properties));
            });
}

}  // namespace gatehall::greeter
