#pragma once

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/platform/Platform.h"
#include "tests/platform/contracts/Scene.h"

namespace gatehall::contracts {

/// A machine with the accounts and groups of the scene in its local node, which its search node
/// covers first.
class DirectoryHost {
 public:
  virtual ~DirectoryHost() = default;
  virtual Platform& platform() = 0;

  /// Gives the machine network directories; answers the names of their nodes, in their order. The
  /// machine had none.
  virtual Strings addNetworkNodes() = 0;

  /// Whether its accounts' passwords can be verified at all.
  virtual bool verifiesPasswords() const { return true; }
};

class DirectoryContract : public testing::TestWithParam<Factory<DirectoryHost>> {
 protected:
  std::shared_ptr<DirectoryNode> node(NodeType type) {
    const auto session = mHost->platform().directory().defaultSession();
    return session == nullptr ? nullptr : session->nodeByType(type);
  }

  /// RecordNames (the first ones) of what a query on the search node finds.
  Strings namesFound(const QueryDescription& description) {
    const auto query = node(NodeType::Search)->query(description);
    if (query == nullptr) return {"no query"};
    const auto records = query->results(false);
    if (!records) return {"no results"};
    Strings names;
    for (const auto& record : *records) {
      names.push_back(record->valuesForAttribute(attribute::RecordName)->at(0));
    }
    return names;
  }

  static QueryDescription users(std::string_view kind, MatchType match, Strings values,
                                Strings returning = {}) {
    return {{std::string(record::Users)},
            std::string(kind),
            match,
            std::move(values),
            std::move(returning),
            0};
  }

  std::shared_ptr<DirectoryRecord> find(std::string_view type, std::string_view name,
                                        const Strings& attributes = {}) {
    return node(NodeType::Local)->recordByTypeAndName(type, name, attributes);
  }

  const std::unique_ptr<DirectoryHost> mHost = GetParam()();
};

TEST_P(DirectoryContract, OpensTheLocalNodeByItsTypeAndByItsName) {
  const auto local = node(NodeType::Local);
  ASSERT_NE(local, nullptr);
  const auto name = local->nodeName();
  ASSERT_TRUE(name);
  const auto again = mHost->platform().directory().defaultSession()->nodeByName(*name);
  ASSERT_NE(again, nullptr);
  EXPECT_EQ(again->nodeName(), name);
}

TEST_P(DirectoryContract, OpensNoNodeThatIsNotThere) {
  const auto session = mHost->platform().directory().defaultSession();
  EXPECT_EQ(session->nodeByName("nowhere/xyzzy"), nullptr);
  EXPECT_EQ(session->nodeByName(""), nullptr);
}

TEST_P(DirectoryContract, CoversTheLocalNodeFirst) {
  const auto covered = node(NodeType::Search)->subnodeNames();
  ASSERT_TRUE(covered && !covered->empty());
  EXPECT_EQ(covered->front(), node(NodeType::Local)->nodeName());
  const auto unreachable = node(NodeType::Search)->unreachableSubnodeNames();
  ASSERT_TRUE(unreachable);
  EXPECT_THAT(*unreachable, testing::Not(testing::Contains(covered->front())));
}

TEST_P(DirectoryContract, CoversTwoNodesAtMostWithoutANetwork) {
  EXPECT_LE(node(NodeType::Search)->subnodeNames().value().size(), kFirstNetworkNode);
}

TEST_P(DirectoryContract, CoversNetworkNodesFromTheThirdOn) {
  const auto network = mHost->addNetworkNodes();
  const auto search = node(NodeType::Search);
  const auto covered = search->subnodeNames().value();
  ASSERT_EQ(covered.size(), kFirstNetworkNode + network.size());
  EXPECT_EQ(Strings(covered.begin() + kFirstNetworkNode, covered.end()), network);
  EXPECT_EQ(covered[0], node(NodeType::Local)->nodeName());
  const auto unreachable = search->unreachableSubnodeNames().value();
  EXPECT_THAT(unreachable, testing::Not(testing::Contains(covered[0])));
  EXPECT_THAT(unreachable, testing::Not(testing::Contains(covered[1])));
}

TEST_P(DirectoryContract, CoversNothingWithANodeThatIsNoSearchNode) {
  EXPECT_FALSE(node(NodeType::Local)->subnodeNames());
  EXPECT_FALSE(node(NodeType::Local)->unreachableSubnodeNames());
}

TEST_P(DirectoryContract, FindsAnAccountByAnyOfItsIdentities) {
  for (const auto& account : kAccounts) {
    const auto record = find(record::Users, account.name);
    ASSERT_NE(record, nullptr) << account.name;
    const auto guid = record->valuesForAttribute(attribute::GUID);
    ASSERT_TRUE(guid && guid->size() == 1) << account.name;
    using testing::ElementsAre;
    EXPECT_THAT(namesFound(users(attribute::UniqueID, MatchType::EqualTo,
                                 {std::to_string(account.userID)})),
                ElementsAre(account.name));
    EXPECT_THAT(namesFound(users(attribute::RecordName, MatchType::EqualTo, {account.name})),
                ElementsAre(account.name));
    EXPECT_THAT(namesFound(users(attribute::GUID, MatchType::EqualTo, *guid)),
                ElementsAre(account.name));
  }
}

TEST_P(DirectoryContract, AcceptsAKindSpelledInFullAndHandsItOutBySuffix) {
  EXPECT_THAT(namesFound(users("lxAttrTypeStandard:UniqueID", MatchType::EqualTo, {"1001"})),
              testing::ElementsAre("bob"));
  const auto bob = find(record::Users, "bob");
  EXPECT_EQ(bob->valuesForAttribute("lxAttrTypeStandard:UniqueID"), Strings{"1001"});
  EXPECT_EQ(bob->recordDetails({"lxAttrTypeStandard:UniqueID"}),
            (Dictionary{{"UniqueID", Strings{"1001"}}}));
}

TEST_P(DirectoryContract, FindsEachRecordOnceHoweverManyValuesMatch) {
  EXPECT_THAT(namesFound(users(attribute::RecordName, MatchType::EqualTo,
                               {"carol", "ann", "xyzzy", "carol"})),
              testing::UnorderedElementsAre("ann", "carol"));
}

TEST_P(DirectoryContract, AnswersInTheSameOrderWhateverTheOrderOfTheValues) {
  EXPECT_EQ(namesFound(users(attribute::RecordName, MatchType::EqualTo, {"ann", "bob", "carol"})),
            namesFound(users(attribute::RecordName, MatchType::EqualTo, {"carol", "bob", "ann"})));
}

TEST_P(DirectoryContract, FindsNothingForAValueThatNobodyHas) {
  EXPECT_THAT(namesFound(users(attribute::RecordName, MatchType::EqualTo, {"xyzzy"})),
              testing::IsEmpty());
  EXPECT_THAT(namesFound(users(attribute::UniqueID, MatchType::EqualTo, {"4294967293"})),
              testing::IsEmpty());
  EXPECT_THAT(namesFound(users(attribute::RecordName, MatchType::EqualTo, {})), testing::IsEmpty());
}

TEST_P(DirectoryContract, TellsCaseApartUnlessToldNotTo) {
  EXPECT_THAT(namesFound(users(attribute::RecordName, MatchType::EqualTo, {"ANN"})),
              testing::IsEmpty());
  EXPECT_THAT(namesFound(users(attribute::RecordName, MatchType::EqualToIgnoringCase, {"ANN"})),
              testing::ElementsAre("ann"));
  EXPECT_THAT(namesFound(users(attribute::FullName, MatchType::Contains, {"OST"})),
              testing::IsEmpty());
  EXPECT_THAT(namesFound(users(attribute::FullName, MatchType::ContainsIgnoringCase, {"OL OST"})),
              testing::ElementsAre("carol"));
  EXPECT_THAT(namesFound(users(attribute::FullName, MatchType::Contains, {"ol Ost"})),
              testing::ElementsAre("carol"));
}

TEST_P(DirectoryContract, ListsEveryRecordOfATypeUnderEveryMatchCode) {
  for (const auto match : {MatchType::EqualTo, MatchType::EqualToIgnoringCase, MatchType::Contains,
                           MatchType::ContainsIgnoringCase}) {
    const auto names =
        namesFound(users(attribute::RecordName, match, {std::string(attribute::AllRecords)}));
    EXPECT_THAT(names, testing::IsSupersetOf({"ann", "bob", "carol"}));
    EXPECT_THAT(names, testing::Not(testing::Contains("staff")));
  }
}

TEST_P(DirectoryContract, FindsRecordsOfSeveralTypesInOneQuery) {
  EXPECT_THAT(namesFound({{"Users", "Groups"},
                          std::string(attribute::RecordName),
                          MatchType::EqualTo,
                          {"ann", "admin"},
                          {},
                          0}),
              testing::UnorderedElementsAre("ann", "admin"));
}

TEST_P(DirectoryContract, StopsAtTheMaximumOfAQuery) {
  auto all = users(attribute::RecordName, MatchType::EqualTo, {"ann", "bob", "carol"});
  const auto unlimited = namesFound(all);
  all.maximumResults = 2;
  EXPECT_EQ(namesFound(all), Strings(unlimited.begin(), unlimited.begin() + 2));
}

TEST_P(DirectoryContract, DescribesAnAccount) {
  const auto local = node(NodeType::Local)->nodeName();
  for (const auto& account : kAccounts) {
    const auto record = find(record::Users, account.name);
    ASSERT_NE(record, nullptr) << account.name;
    const auto first = [&](std::string_view kind) {
      const auto values = record->valuesForAttribute(kind);
      return values && !values->empty() ? values->front() : "nothing";
    };
    EXPECT_EQ(record->recordType(), record::Users);
    EXPECT_EQ(first(attribute::RecordName), account.name);
    EXPECT_EQ(first(attribute::UniqueID), std::to_string(account.userID));
    EXPECT_EQ(first(attribute::PrimaryGroupID), std::to_string(account.groupID));
    EXPECT_EQ(first(attribute::FullName), account.fullName);
    EXPECT_EQ(first(attribute::NFSHomeDirectory), account.home);
    EXPECT_EQ(first(attribute::UserShell), account.shell);
    EXPECT_EQ(first(attribute::MetaNodeLocation), local);
  }
}

TEST_P(DirectoryContract, AnswersNothingForAKindThatARecordLacks) {
  const auto ann = find(record::Users, "ann");
  EXPECT_TRUE(ann->valuesForAttribute("lxAttrTypeNative:xyzzy").value_or(Strings()).empty());
  EXPECT_EQ(ann->recordDetails({"lxAttrTypeNative:xyzzy"}), Dictionary());
}

TEST_P(DirectoryContract, AnswersForKindsThatAQueryDidNotReturn) {
  const auto found = node(NodeType::Search)
                         ->query(users(attribute::UniqueID, MatchType::EqualTo, {"1002"},
                                       {std::string(attribute::GUID)}))
                         ->results(false);
  ASSERT_TRUE(found && found->size() == 1);
  EXPECT_EQ(found->front()->valuesForAttribute(attribute::FullName), Strings{"Carol Ost"});
}

TEST_P(DirectoryContract, DetailsHoldWhatIsListedOrAllThatARecordHas) {
  const auto carol = find(record::Users, "carol");
  EXPECT_EQ(carol->recordDetails({"UniqueID", "FullName"}),
            (Dictionary{{"FullName", Strings{"Carol Ost"}}, {"UniqueID", Strings{"1002"}}}));
  const auto all = carol->recordDetails({});
  ASSERT_TRUE(all);
  for (const auto& [kind, values] : *all) {
    EXPECT_EQ(values, Value(*carol->valuesForAttribute(kind))) << kind;
  }
  for (const auto kind : {attribute::RecordName, attribute::UniqueID, attribute::GUID,
                          attribute::FullName, attribute::MetaNodeLocation}) {
    EXPECT_TRUE(all->contains(kind)) << kind;
  }
}

TEST_P(DirectoryContract, GivesEveryRecordAGUIDOfItsOwnThatStays) {
  std::vector<std::string> guids;
  for (const auto& account : kAccounts) {
    const auto guid = find(record::Users, account.name)->valuesForAttribute(attribute::GUID);
    ASSERT_TRUE(guid && guid->size() == 1);
    EXPECT_EQ(find(record::Users, account.name)->valuesForAttribute(attribute::GUID), guid);
    Identifier identifier;
    EXPECT_EQ(mHost->platform().membership().guidToIdentifier(guid->front(), identifier), 0);
    guids.push_back(guid->front());
  }
  for (const auto& group : kGroups) {
    guids.push_back(find(record::Groups, group.name)->valuesForAttribute(attribute::GUID)->at(0));
  }
  std::ranges::sort(guids);
  EXPECT_EQ(std::ranges::adjacent_find(guids), guids.end());
}

TEST_P(DirectoryContract, FindsARecordByItsExactNameAndType) {
  EXPECT_NE(find(record::Users, "ann"), nullptr);
  EXPECT_EQ(find(record::Users, "Ann"), nullptr);
  EXPECT_EQ(find(record::Users, "an"), nullptr);
  EXPECT_EQ(find(record::Users, ""), nullptr);
  EXPECT_EQ(find(record::Users, attribute::AllRecords), nullptr);
  EXPECT_EQ(find(record::Groups, "ann"), nullptr);
  EXPECT_EQ(find("Printers", "ann"), nullptr);
}

TEST_P(DirectoryContract, DescribesAGroup) {
  const auto staff = find(record::Groups, "staff", {std::string(attribute::GroupMembership)});
  ASSERT_NE(staff, nullptr);
  EXPECT_EQ(staff->recordType(), record::Groups);
  EXPECT_EQ(staff->valuesForAttribute(attribute::PrimaryGroupID), Strings{"50"});
  EXPECT_THAT(*staff->valuesForAttribute(attribute::GroupMembership),
              testing::UnorderedElementsAre("ann", "bob", "carol"));
}

TEST_P(DirectoryContract, FindsTheGroupThatHasAPrimaryGroupID) {
  EXPECT_THAT(namesFound({{std::string(record::Groups)},
                          std::string(attribute::PrimaryGroupID),
                          MatchType::EqualTo,
                          {"50"},
                          {std::string(attribute::GUID)},
                          0}),
              testing::ElementsAre("staff"));
}

TEST_P(DirectoryContract, VerifiesPasswordsOrNone) {
  const bool verifies = mHost->verifiesPasswords();
  for (const auto& account : kAccounts) {
    const auto record = find(record::Users, account.name);
    const bool isEmpty = std::string_view(account.password).empty();
    DirectoryError error;
    EXPECT_EQ(record->verifyPassword(account.password, error), verifies) << account.name;
    EXPECT_FALSE(record->verifyPassword("xyzzy", error)) << account.name;
    EXPECT_FALSE(error.domain && error.code == 0) << account.name << ": reads as accepted";
    EXPECT_EQ(record->verifyPassword("", error), verifies && isEmpty) << account.name;
  }
}

TEST_P(DirectoryContract, RefusesThePasswordsOfWhatHasNoneWithACode) {
  for (const auto& group : kGroups) {
    DirectoryError error;
    EXPECT_FALSE(find(record::Groups, group.name)->verifyPassword("xyzzy", error)) << group.name;
    EXPECT_FALSE(error.domain && error.code == 0) << group.name;
    error = {};
    EXPECT_FALSE(find(record::Groups, group.name)->changePassword("xyzzy", "zyxxy", error));
    EXPECT_FALSE(error.domain && error.code == 0) << group.name;
  }
}

TEST_P(DirectoryContract, KnowsTheMembersOfAGroup) {
  const auto ann = find(record::Users, "ann");
  const auto bob = find(record::Users, "bob");
  const auto admin = find(record::Groups, "admin");
  const auto staff = find(record::Groups, "staff");
  EXPECT_TRUE(admin->isMember(*ann));
  EXPECT_FALSE(admin->isMember(*bob));
  EXPECT_TRUE(staff->isMember(*ann));
  EXPECT_TRUE(staff->isMember(*bob));
  EXPECT_FALSE(staff->isMember(*admin));
}

TEST_P(DirectoryContract, HasNoMembersInARecordThatIsNoGroup) {
  EXPECT_FALSE(find(record::Users, "ann")->isMember(*find(record::Users, "bob")));
}

TEST_P(DirectoryContract, SynchronizesARecordThatIsStillThere) {
  const auto ann = find(record::Users, "ann");
  EXPECT_TRUE(ann->synchronize());
  EXPECT_EQ(ann->valuesForAttribute(attribute::UniqueID), Strings{"1000"});
}

TEST_P(DirectoryContract, AnswersSeveralThreadsAtOnce) {
  const auto shared = find(record::Users, "ann");
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 3; ++thread) {
    threads.emplace_back([&] {
      for (int time = 0; time < 20; ++time) {
        EXPECT_EQ(namesFound(users(attribute::UniqueID, MatchType::EqualTo, {"1001"})),
                  Strings{"bob"});
        EXPECT_EQ(shared->valuesForAttribute(attribute::UniqueID), Strings{"1000"});
        EXPECT_TRUE(shared->synchronize());
      }
    });
  }
  for (auto& thread : threads) thread.join();
}

}  // namespace gatehall::contracts
