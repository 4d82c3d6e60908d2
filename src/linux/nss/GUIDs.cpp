#include "linux/nss/GUIDs.h"

#include <cstddef>

#include "portable/NameBasedUUID.h"

namespace gatehall::nss {

namespace {

/// 3C7E0A94-5B1D-4E62-A8F3-91D6B07C2E45. Any constant would do; the manual page names it.
constexpr UUIDBytes kNameSpace{0x3c, 0x7e, 0x0a, 0x94, 0x5b, 0x1d, 0x4e, 0x62,
                               0xa8, 0xf3, 0x91, 0xd6, 0xb0, 0x7c, 0x2e, 0x45};

constexpr std::size_t kMostRemembered = 1000000;

}  // namespace

std::string GUIDs::of(std::string_view nodeName, Type type, std::string_view name, Known known) {
  std::string result;
  const std::lock_guard lock(mMutex);
  for (const auto& node : mNodeNames) {
    auto text = node;
    text.append(type == Type::User ? "/user/" : "/group/").append(name);
    const auto guid = uuidText(nameBasedUUID(kNameSpace, text));
    if (mNamed.size() >= kMostRemembered) mNamed.clear();
    const auto [place, isNew] =
        mNamed.try_emplace(guid, Named{node, type, std::string(name), known});
    if (!isNew && known == Known::Met) place->second.known = known;
    if (node == nodeName) result = guid;
  }
  return result;
}

std::optional<GUIDs::Named> GUIDs::named(const std::string& guid) {
  const std::lock_guard lock(mMutex);
  const auto found = mNamed.find(guid);
  return found == mNamed.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace gatehall::nss
