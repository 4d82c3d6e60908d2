#include "linux/ldap/MappedDomains.h"

#include "gatehall/base/PlatformException.h"
#include "linux/ldap/client/SecurityID.h"

namespace gatehall::ldap {

void MappedDomains::claim(const std::string& nodeName, const std::string& domain) {
  const auto firstID = [](const std::string& any) { return securityID::mappedID(any + "-0"); };
  const std::lock_guard lock(mMutex);
  mNodeNames.emplace(domain, nodeName);
  for (const auto& [other, otherName] : mNodeNames) {
    if (other == domain || firstID(other) != firstID(domain)) continue;
    auto why = nodeName + ": its domain ";
    why.append(domain).append(" is mapped to the same ids as ").append(other).append(" of ");
    throw PlatformException(why.append(otherName));
  }
}

}  // namespace gatehall::ldap
