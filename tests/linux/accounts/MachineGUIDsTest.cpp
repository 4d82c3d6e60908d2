#include <gtest/gtest.h>

#include "linux/accounts/MachineGUIDs.h"
#include "linux/files/FaultLog.h"
#include "tests/linux/Machine.h"

namespace gatehall {

TEST(MachineGUIDs, AreRememberedWithTheirUsersOnceTheyAreMade) {
  const Machine machine;
  KeptLog log;
  FaultLog faults(log);
  const auto anns = MachineGUIDs(machine.options, faults).ofUser(1000);
  MachineGUIDs guids(machine.options, faults);
  EXPECT_EQ(guids.rememberedUserID(anns), std::nullopt);
  EXPECT_EQ(guids.ofUser(1000), anns);
  EXPECT_EQ(guids.rememberedUserID(anns), 1000U);
  EXPECT_EQ(guids.rememberedUserID(guids.ofGroup(1000)), std::nullopt);
  EXPECT_EQ(guids.rememberedUserID(UUIDBytes{}), std::nullopt);
}

}  // namespace gatehall
