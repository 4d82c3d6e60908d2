#include <gmock/gmock.h>
#include <memory>

#include "tests/switcher/SwitchWorld.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using Answer = DecisionRecord::Answer;

class KeptDecisions final : public DecisionLog {
 public:
  void keep(const DecisionRecord& decision) override { records.push_back(decision); }

  std::vector<DecisionRecord> records;
};

class KeepingPlatform final : public InstrumentedPlatform {
 public:
  KeepingPlatform(std::shared_ptr<Platform> host, std::vector<Fault> faults)
      : InstrumentedPlatform(std::move(host), std::move(faults)) {}

  DecisionLog* decisionLog() override { return &decisions; }

  KeptDecisions decisions;
};

class SwitchDecisions : public SwitchWorld {
 protected:
  std::vector<DecisionRecord> decisionsOf(std::initializer_list<std::string_view> words) {
    const auto platform = std::make_shared<KeepingPlatform>(mWorld, mWorld->faults());
    Platform::install(platform);
    try {
      run(words);
    } catch (const PlatformException&) {
      mHasRaised = true;
    }
    return platform->decisions.records;
  }

  bool mHasRaised = false;
};

TEST_F(SwitchDecisions, AreKeptWithWhoAskedAboutWhomTheRuleAndItsSource) {
  const auto kept = decisionsOf({"-switchToUserID", "1001"});
  ASSERT_EQ(kept.size(), 1U);
  EXPECT_EQ(kept[0].caller, 1000U);
  EXPECT_EQ(kept[0].userID, 1001U);
  EXPECT_EQ(kept[0].userName, "bob");
  EXPECT_EQ(kept[0].answer, Answer::Admitted);
  EXPECT_EQ(kept[0].rule, "local login enabled");
  EXPECT_EQ(kept[0].source, "default");
  EXPECT_EQ(kept[0].reason, "");
}

TEST_F(SwitchDecisions, AreKeptAboutAnIdThatNobodyHas) {
  const auto kept = decisionsOf({"-switchToUserID", "7777"});
  ASSERT_EQ(kept.size(), 1U);
  EXPECT_EQ(kept[0].userID, 7777U);
  EXPECT_EQ(kept[0].answer, Answer::NotFound);
  EXPECT_EQ(kept[0].rule, "");
}

TEST_F(SwitchDecisions, AreKeptAsUndecidableWithTheReasonOfWhatIsRaised) {
  mWorld->setFaults({{.operation = "isMember"}});
  const auto kept = decisionsOf({"-switchToUserID", "1001", "-switchToUserID", "1002"});
  EXPECT_TRUE(mHasRaised);
  ASSERT_EQ(kept.size(), 1U);
  EXPECT_EQ(kept[0].userName, "bob");
  EXPECT_EQ(kept[0].answer, Answer::Undecidable);
  EXPECT_NE(kept[0].reason, "");
}

TEST_F(SwitchDecisions, AreKeptAsUndecidableAboutWhomAFailingDirectoryDoesNotFind) {
  for (const auto* operation : {"queryResults", "recordDetails"}) {
    mWorld->setFaults({{.operation = operation}});
    const auto kept = decisionsOf({"-switchToUserID", "1001"});
    EXPECT_FALSE(mHasRaised);
    ASSERT_EQ(kept.size(), 1U);
    EXPECT_EQ(kept[0].answer, Answer::Undecidable) << operation;
    EXPECT_NE(kept[0].reason, "") << operation;
  }
}

TEST_F(SwitchDecisions, AreNotMadeForWhoMayNotSwitchOrAsksForNobody) {
  EXPECT_TRUE(decisionsOf({"-suspend"}).empty());
  mWorld->process().setEffectiveUserID(1002);
  EXPECT_TRUE(decisionsOf({"-switchToUserID", "1001"}).empty());
}

}  // namespace
}  // namespace gatehall
