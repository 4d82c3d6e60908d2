#include "linux/process/ExtraGroup.h"

#include <cstdlib>
#include <unistd.h>

namespace gatehall::extraGroup {

namespace {

struct Groups {
  gid_t real = 0;
  gid_t effective = 0;
  gid_t saved = 0;

  Groups() {
    if (getresgid(&real, &effective, &saved) != 0) std::abort();
  }

  bool areOne() const { return real == effective && real == saved; }
};

}  // namespace

bool isThere() { return !Groups().areOne(); }

void use() {
  const Groups groups;
  if (setresgid(groups.real, groups.saved, groups.saved) != 0) std::abort();
}

void giveUp() {
  const auto caller = Groups().real;
  if (setresgid(caller, caller, caller) != 0) std::abort();
  const Groups left;
  if (!left.areOne() || left.real != caller) std::abort();
}

}  // namespace gatehall::extraGroup
