#include "portable/NotificationSources.h"

#include <string>
#include <utility>

namespace gatehall {

class NotificationSources::Source final : public RunLoopSource {
 public:
  Source(std::string_view name, Handler handler) : mName(name), mHandler(std::move(handler)) {}

  const std::string& name() const { return mName; }
  const Handler& handler() const { return mHandler; }

 private:
  const std::string mName;
  const Handler mHandler;
};

std::shared_ptr<RunLoopSource> NotificationSources::add(std::string_view name, Handler handler) {
  auto source = std::make_shared<Source>(name, std::move(handler));
  std::erase_if(mSources, [](const auto& each) { return each.expired(); });
  mSources.push_back(source);
  return source;
}

void NotificationSources::each(
    std::string_view name,
    const std::function<void(std::shared_ptr<RunLoopSource>, Handler)>& tell) const {
  for (const auto& each : mSources) {
    const auto source = each.lock();
    if (source != nullptr && source->name() == name) tell(source, source->handler());
  }
}

}  // namespace gatehall
