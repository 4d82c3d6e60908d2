#include "gatehall/users/StringBundle.h"

#include <memory>
#include <utility>

#include "base/ProcessWide.h"

namespace gatehall {

namespace {

ProcessWide<const StringBundle> currentBundle;

}  // namespace

void setStringBundle(StringBundle bundle) {
  currentBundle.clear();
  if (bundle) currentBundle.keep(std::make_shared<const StringBundle>(std::move(bundle)));
}

std::optional<std::string> localizedString(std::string_view key, std::string_view defaultText,
                                           std::string_view table) {
  const auto bundle = currentBundle.get();
  return bundle ? (*bundle)(key, defaultText, table) : std::nullopt;
}

}  // namespace gatehall
