#include <gmock/gmock.h>
#include <string>

#include "linux/files/FaultLog.h"
#include "tests/linux/Machine.h"

namespace gatehall {

TEST(FaultLog, ReportsEachFaultOnceAndAThousandInAll) {
  KeptLog log;
  FaultLog faults(log);
  for (int time = 0; time < 2; ++time) {
    faults.report("/etc/passwd", 7, "no colon");
    faults.report("/etc/passwd", "no file");
  }
  EXPECT_THAT(log.lines(), testing::ElementsAre("/etc/passwd:7: no colon", "/etc/passwd: no file"));
  for (int line = 10; line < 2000; ++line) {
    faults.report("/etc/group", static_cast<std::uint64_t>(line), "no colon");
  }
  EXPECT_EQ(log.lines().size(), 1000U);
}

}  // namespace gatehall
