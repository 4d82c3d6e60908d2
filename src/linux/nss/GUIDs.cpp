#include "linux/nss/GUIDs.h"

#include <algorithm>
#include <iterator>

namespace gatehall::nss {

namespace {

/// 3C7E0A94-5B1D-4E62-A8F3-91D6B07C2E45. Any constant would do; the manual page names it.
constexpr UUIDBytes kNameSpace{0x3c, 0x7e, 0x0a, 0x94, 0x5b, 0x1d, 0x4e, 0x62,
                               0xa8, 0xf3, 0x91, 0xd6, 0xb0, 0x7c, 0x2e, 0x45};

/// The same groups are listed again and again.
constexpr std::size_t kMostListed = 100000;

UUIDBytes make(std::string_view nodeName, Type type, std::string_view name) {
  std::string text(nodeName);
  text.append(type == Type::User ? "/user/" : "/group/").append(name);
  return nameBasedUUID(kNameSpace, text);
}

}  // namespace

UUIDBytes GUIDs::of(std::string_view nodeName, Type type, std::string_view name, Known known) {
  const std::lock_guard lock(mMutex);
  return remember(nodeName, type, name, known);
}

UUIDBytes GUIDs::remember(std::string_view nodeName, Type type, std::string_view name,
                          Known known) {
  UUIDBytes result{};
  for (const auto& node : mNodeNames) {
    const auto guid = make(node, type, name);
    if (mNamed.size() >= mMostRemembered) {
      std::erase_if(mNamed, [](const auto& each) { return each.second.known != Known::Set; });
    }
    const auto [place, isNew] =
        mNamed.try_emplace(guid, Named{node, type, std::string(name), known});
    if (!isNew) place->second.known = std::max(place->second.known, known);
    if (node == nodeName) result = guid;
  }
  return result;
}

UUIDBytes GUIDs::ofMember(std::string_view nodeName, std::string_view name) {
  return make(nodeName, Type::User, name);
}

void GUIDs::list(Strings memberNames) {
  const std::lock_guard lock(mMutex);
  std::ranges::move(memberNames, std::back_inserter(mListed));
  if (mListed.size() >= kMostListed) rememberListed();
}

void GUIDs::rememberListed() {
  for (const auto& name : mListed) remember({}, Type::User, name, Known::Listed);
  mListed.clear();
}

std::optional<GUIDs::Named> GUIDs::named(const UUIDBytes& guid) {
  const std::lock_guard lock(mMutex);
  if (!mNamed.contains(guid)) rememberListed();
  const auto found = mNamed.find(guid);
  return found == mNamed.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace gatehall::nss
