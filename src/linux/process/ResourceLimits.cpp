#include "linux/process/ResourceLimits.h"

#include <sys/resource.h>

namespace gatehall {

namespace {

constexpr rlim_t kMemory = rlim_t{256} << 20U;  ///< the largest property list, unfolded, and ICU's
constexpr rlim_t kOpenFiles = 16;

template <class Resource>
bool raise(Resource resource, rlim_t least) {
  rlimit limit{};
  if (getrlimit(resource, &limit) != 0) return false;
  limit.rlim_cur = limit.rlim_max;
  return limit.rlim_max >= least && setrlimit(resource, &limit) == 0;
}

}  // namespace

bool raiseResourceLimits() {
  return raise(RLIMIT_AS, kMemory) && raise(RLIMIT_DATA, kMemory) &&
         raise(RLIMIT_NOFILE, kOpenFiles);
}

}  // namespace gatehall
