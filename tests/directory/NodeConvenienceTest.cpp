#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gatehall/directory/NodeConvenience.h"
#include "tests/Machine.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;
using ::testing::Optional;

class NodeConvenience : public Machine {
 protected:
  /// The operations asked so far, by name.
  Strings operations() const {
    Strings names;
    for (const auto& call : calls()) names.push_back(call.operation);
    return names;
  }
};

TEST_F(NodeConvenience, SearchNodeIsTheNodeOfTypeSearch) {
  const auto node = searchNode();
  EXPECT_THAT(calls(),
              ElementsAre(Call{"defaultSession", {}}, Call{"nodeByType", {{"type", "search"}}}));
  ASSERT_NE(node, nullptr);
  EXPECT_THAT(node->nodeName(), Optional(std::string("search")));
}

TEST_F(NodeConvenience, LocalNodeIsTheNodeOfTypeLocal) {
  const auto node = localNode();
  EXPECT_THAT(calls(),
              ElementsAre(Call{"defaultSession", {}}, Call{"nodeByType", {{"type", "local"}}}));
  ASSERT_NE(node, nullptr);
  EXPECT_THAT(node->nodeName(), Optional(std::string("local")));
}

TEST_F(NodeConvenience, NodeWithNameIsTheNodeOfThatName) {
  const auto node = nodeWithName("unix");
  EXPECT_THAT(calls(),
              ElementsAre(Call{"defaultSession", {}}, Call{"nodeByName", {{"name", "unix"}}}));
  ASSERT_NE(node, nullptr);
  EXPECT_THAT(node->nodeName(), Optional(std::string("unix")));
}

TEST_F(NodeConvenience, AnswersAbsentWithoutADefaultSession) {
  mWorld->directory().setAvailable(false);
  EXPECT_EQ(searchNode(), nullptr);
  EXPECT_EQ(localNode(), nullptr);
  EXPECT_EQ(nodeWithName("local"), nullptr);
  EXPECT_THAT(operations(), ElementsAre("defaultSession", "defaultSession", "defaultSession"));
}

TEST_F(NodeConvenience, AnswersAbsentForANodeThatCannotBeOpened) {
  mWorld->directory().removeSearchNode();
  mWorld->directory().setLocalNode(std::nullopt);
  EXPECT_EQ(searchNode(), nullptr);
  EXPECT_EQ(localNode(), nullptr);
  EXPECT_EQ(nodeWithName("ldap/elsewhere.example.org"), nullptr);
}

TEST_F(NodeConvenience, KeepsNothingAndGoesThroughTheDefaultSessionEachTime) {
  searchNode();
  searchNode();
  EXPECT_THAT(operations(),
              ElementsAre("defaultSession", "nodeByType", "defaultSession", "nodeByType"));
}

TEST_F(NodeConvenience, LeavesFailuresToItsCallers) {
  fail({{"nodeByType"}, {"nodeByName"}});
  EXPECT_THROW(searchNode(), PlatformException);
  EXPECT_THROW(localNode(), PlatformException);
  EXPECT_THROW(nodeWithName("local"), PlatformException);
}

}  // namespace
}  // namespace gatehall
