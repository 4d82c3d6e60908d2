#include "linux/switch/SwitchDecision.h"

#include <limits>
#include <string_view>

#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/platform/LoginService.h"

namespace gatehall::switchDecision {

namespace {

/// The first value of a kind.
const Value* first(const Dictionary& attributes, std::string_view kind) {
  const auto found = attributes.find(kind);
  if (found == attributes.end()) return nullptr;
  const auto* values = found->second.array();
  if (values == nullptr) return &found->second;
  return values->empty() ? nullptr : &values->front();
}

std::optional<std::uint32_t> userID(const Value* value) {
  const auto number = value == nullptr ? std::nullopt : value->integerValue();
  if (!number || *number < 0 || *number >= std::numeric_limits<std::uint32_t>::max()) {
    return std::nullopt;
  }
  return static_cast<std::uint32_t>(*number);
}

}  // namespace

Target target(const Dictionary& attributes) {
  Target target;
  if (const auto* name = first(attributes, attribute::RecordName); name && name->string()) {
    target.name = *name->string();
  }
  target.userID = userID(first(attributes, attribute::UniqueID));
  if (const auto* node = first(attributes, attribute::MetaNodeLocation); node && node->string()) {
    target.node = *node->string();
  }
  const auto* guest = first(attributes, attribute::Guest);
  target.isGuest = guest != nullptr && guest->booleanValue().value_or(false);
  const auto password = attributes.find(kUserPasswordKey);
  const auto* text = password == attributes.end() ? nullptr : password->second.string();
  target.hasEmptyPassword = text != nullptr && text->empty();
  return target;
}

bool mayActivate(const Target& target) { return target.hasEmptyPassword && !target.isGuest; }

bool opensUnasked(Step step, const Target& target) {
  return step == Step::SwitchToGuest || (step == Step::SwitchToUser && target.hasEmptyPassword);
}

bool makesAnotherGreeter(DisplayManager displayManager) {
  return displayManager == DisplayManager::OtherSeat || displayManager == DisplayManager::GDM;
}

Step loginScreen(DisplayManager displayManager) {
  switch (displayManager) {
    case DisplayManager::LightDM:
    case DisplayManager::OtherSeat:
      return Step::SwitchToGreeter;
    case DisplayManager::GDM:
      return Step::CreateTransientDisplay;
    case DisplayManager::None:
      break;
  }
  return Step::Impossible;
}

Step userSwitch(DisplayManager displayManager, const Target& target) {
  if (displayManager != DisplayManager::LightDM) return loginScreen(displayManager);
  return target.isGuest ? Step::SwitchToGuest : Step::SwitchToUser;
}

}  // namespace gatehall::switchDecision
