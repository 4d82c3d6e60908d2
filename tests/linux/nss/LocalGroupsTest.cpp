#include "linux/nss/LocalGroups.h"
#include "tests/linux/Machine.h"

namespace gatehall::nss {
namespace {

class NssLocalGroups : public testing::Test {
 protected:
  Machine machine;
  FaultLog faults{machine.log};
};

}  // namespace

TEST_F(NssLocalGroups, AreThoseOfTheSameNameAndIDAndOthersAreOnlyLikeThem) {
  machine.write("/etc/group", "staff:x:50:\nusers:x:100:\nbroken:x:one:\n");
  const auto groups = LocalGroups(machine.options, faults).current();
  EXPECT_TRUE(groups->hold("staff", 50));
  EXPECT_EQ(groups->whyLike("other", 500), "");
  EXPECT_FALSE(groups->hold("staff", 100));
  EXPECT_EQ(groups->whyLike("staff", 100), "has the name of a local group");
  EXPECT_FALSE(groups->hold("other", 100));
  EXPECT_EQ(groups->whyLike("other", 100), "has the id 100 of a local group");
  EXPECT_FALSE(groups->hold("broken", 7));
  EXPECT_EQ(groups->whyLike("broken", 7), "has the name of a local group");
}

}  // namespace gatehall::nss
