#pragma once

#include <map>
#include <mutex>
#include <string>

namespace gatehall::ldap {

/// The domains whose ids the directories of a machine map. Two of them may be mapped to the same
/// ids, and nobody can tell then whose one is. From any thread.
class MappedDomains {
 public:
  /// Says that the directory has accounts of the domain. Raises PlatformException, naming both
  /// directories, when another domain is mapped to the same ids: once that is known, for either.
  void claim(const std::string& nodeName, const std::string& domain);

 private:
  std::mutex mMutex;
  std::map<std::string, std::string> mNodeNames;  ///< by domain, of the first directory
};

}  // namespace gatehall::ldap
