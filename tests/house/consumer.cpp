#include <cstdio>

#include "gatehall/base/Value.h"

int main() {
  const gatehall::Value value(gatehall::Strings{"ann", "bob"});
  std::puts(value.description().c_str());
  return value.array() != nullptr && value.array()->size() == 2 ? 0 : 1;
}
