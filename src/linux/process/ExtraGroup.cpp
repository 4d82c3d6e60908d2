#include "linux/process/ExtraGroup.h"

#include <cstdlib>
#include <unistd.h>

namespace gatehall::extraGroup {

namespace {

constexpr auto kUnchanged = static_cast<gid_t>(-1);

bool isPutAside = false;

struct Groups {
  gid_t real = 0;
  gid_t effective = 0;
  gid_t saved = 0;

  Groups() {
    if (getresgid(&real, &effective, &saved) != 0) std::abort();
  }
};

void setGroups(gid_t real, gid_t effective, gid_t saved) {
  if (setresgid(real, effective, saved) != 0) std::abort();
}

}  // namespace

void putAside() {
  const Groups groups;
  isPutAside = groups.saved != groups.real;
  if (isPutAside) setGroups(kUnchanged, groups.real, groups.saved);
}

void giveUp() {
  if (!isPutAside) return;
  const Groups groups;
  setGroups(groups.real, groups.real, groups.real);
  isPutAside = false;
}

TakenUp::TakenUp() : mTakenUp(isPutAside) {
  if (mTakenUp) setGroups(kUnchanged, Groups().saved, kUnchanged);
}

TakenUp::~TakenUp() {
  if (mTakenUp) setGroups(kUnchanged, Groups().real, kUnchanged);
}

}  // namespace gatehall::extraGroup
