#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <time.h>
#include <vector>

#include "service/answers/Answers.h"
#include "service/answers/Wording.h"
#include "tests/access/LoginWorld.h"

namespace gatehall::service {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using testing::UnorderedElementsAre;

Strings keysOf(const Dictionary& entries) {
  Strings keys;
  for (const auto& [key, value] : entries) keys.push_back(key);
  return keys;
}

Dictionary dictionaryIn(const Answer& answer) {
  const auto* entries = std::get_if<Dictionary>(&answer);
  return entries == nullptr ? Dictionary() : *entries;
}

/// Of a key that isn't there a text that says so.
Value valueOf(const Answer& answer, std::string_view key) {
  const auto entries = dictionaryIn(answer);
  const auto entry = entries.find(key);
  return entry == entries.end() ? Value("-") : entry->second;
}

std::string errorIn(const Answer& answer) {
  const auto* failure = std::get_if<Failure>(&answer);
  return failure == nullptr ? "" : failure->name + ": " + failure->text;
}

class AnswersTest : public LoginWorld {
 protected:
  AnswersTest() {
    setenv("TZ", "UTC0", 1);
    tzset();
  }
  ~AnswersTest() override {
    unsetenv("TZ");
    tzset();
  }

  Answer ask(Question::Kind kind, Whom whom, bool mayKnowHours = true) const {
    return Answers({.worldFile = "test.world.json"})(
        {.kind = kind, .whom = std::move(whom), .mayKnowHours = mayKnowHours});
  }
  Answer canLogIn(const char* name, bool mayKnowHours = true) const {
    return ask(Question::Kind::CanLogIn, std::string(name), mayKnowHours);
  }
  Answer explain(const char* name, bool mayKnowHours = true) const {
    return ask(Question::Kind::Explain, std::string(name), mayKnowHours);
  }
  Answer user(Whom whom, bool mayKnowHours = true) const {
    return ask(Question::Kind::User, std::move(whom), mayKnowHours);
  }

  static Date at(double seconds) { return Date(std::chrono::duration<double>(seconds)); }

  /// Login hours of a local user, at 2024-10-04 00:00 UTC.
  void limit(const std::string& name, std::uint32_t userID, bool isNow) {
    mWorld->clock().set(at(kNow));
    local()->record(record::Users, name)->setValues("TavloSettings", {"limits"});
    mWorld->parentalControls().setLimit(
        userID, {.allowed = isNow, .result = 3, .nextCurfew = at(kNow + 8 * 3600)});
  }

  static constexpr double kNow = 20000 * 86400.0;
};

TEST_F(AnswersTest, AboutLoggingInHaveTheseKeys) {
  EXPECT_THAT(
      keysOf(dictionaryIn(canLogIn("bob"))),
      ElementsAre("allowed", "found", "name", "rule", "ruleText", "sentence", "source", "uid"));
  const auto bob = canLogIn("bob");
  EXPECT_EQ(valueOf(bob, "uid"), Value(1001));
  EXPECT_EQ(valueOf(bob, "found"), Value(true));
  EXPECT_EQ(valueOf(bob, "allowed"), Value(true));
  EXPECT_EQ(valueOf(bob, "rule"), Value("local login enabled"));
  EXPECT_EQ(valueOf(bob, "source"), Value("default"));
  EXPECT_EQ(valueOf(bob, "name"), Value("bob"));
  EXPECT_EQ(valueOf(bob, "sentence"), Value(""));
}

TEST_F(AnswersTest, AreTheSameByNameAndByUserIDAndANumberIsANameWhereANameIsMeant) {
  EXPECT_EQ(ask(Question::Kind::CanLogIn, std::uint32_t{2001}), canLogIn("dana"));
  EXPECT_EQ(valueOf(canLogIn("2001"), "rule"), Value("no such account"));
  local()->addRecord(LoginWorld::user("2001", "1009", kNobody));
  EXPECT_EQ(valueOf(canLogIn("2001"), "uid"), Value(1009));
}

TEST_F(AnswersTest, AboutARefusalTellTheRuleAndASentence) {
  set("DenyList", Array{kDay});
  const auto dana = canLogIn("dana");
  EXPECT_EQ(valueOf(dana, "allowed"), Value(false));
  EXPECT_EQ(valueOf(dana, "rule"), Value("denied by GUID"));
  EXPECT_EQ(valueOf(dana, "sentence"),
            Value("You may not log in on this computer: your account is excluded."));
}

TEST_F(AnswersTest, FollowEachChangeAtOnce) {
  EXPECT_EQ(valueOf(canLogIn("dana"), "allowed"), Value(true));
  mWorld->preferences().setValue(WorldPreferences::Scope::System, "com.orvane.gatehall", "DenyList",
                                 Array{kDana});
  EXPECT_EQ(valueOf(canLogIn("dana"), "allowed"), Value(false)) << "not yet synchronized by others";
  unset("DenyList");
  EXPECT_EQ(valueOf(canLogIn("dana"), "allowed"), Value(true));
}

TEST_F(AnswersTest, AboutNobodySaySoAndWhereADirectoryIsAwayThatItCantBeTold) {
  const auto nobody = canLogIn("ivy");
  EXPECT_EQ(valueOf(nobody, "found"), Value(false));
  EXPECT_EQ(valueOf(nobody, "allowed"), Value(false));
  EXPECT_EQ(valueOf(nobody, "name"), Value("ivy"));
  EXPECT_EQ(valueOf(nobody, "uid"), Value("-"));
  EXPECT_EQ(valueOf(nobody, "sentence"),
            Value("You may not log in on this computer: it doesn't know your account."));
  mWorld->directory().setReachable(cast::kNetworkNode, false);
  const auto away = canLogIn("ivy");
  EXPECT_EQ(valueOf(away, "rule"), Value("directory away"));
  EXPECT_THAT(*valueOf(away, "sentence").string(), HasSubstr("It can't be told now"));
  EXPECT_EQ(valueOf(ask(Question::Kind::CanLogIn, std::string()), "rule"), Value("directory away"));
}

TEST_F(AnswersTest, AboutAccountsThatNobodyCanUseSayWhatAPersonUnderstands) {
  local()->record(record::Users, "bob")->setValues("AuthenticationAuthority", {";DisabledUser;"});
  EXPECT_EQ(valueOf(canLogIn("bob"), "rule"), Value("locked"));
  EXPECT_EQ(valueOf(canLogIn("bob"), "found"), Value(false));
  EXPECT_THAT(*valueOf(canLogIn("bob"), "sentence").string(), HasSubstr("account is locked"));
  local()->record(record::Users, "bob")->setValues("UserShell", {"/usr/bin/false"});
  EXPECT_EQ(valueOf(canLogIn("bob"), "rule"), Value("no shell"));
  EXPECT_THAT(*valueOf(canLogIn("bob"), "sentence").string(), HasSubstr("nobody can log in with"));
  setServiceAccess({.members = {kAnn}});
  EXPECT_EQ(valueOf(canLogIn("erin"), "rule"), Value("not in gatehall-access"));
  EXPECT_THAT(*valueOf(canLogIn("erin"), "sentence").string(), HasSubstr("only some people may"));
}

TEST_F(AnswersTest, OfTheHostsFailureAreUndecidable) {
  fail({{.operation = "queryResults"}});
  const auto bob = canLogIn("bob");
  EXPECT_EQ(valueOf(bob, "allowed"), Value(false));
  EXPECT_EQ(valueOf(bob, "rule"), Value("undecidable"));
  EXPECT_THAT(*valueOf(bob, "sentence").string(), HasSubstr("It can't be told now"));
  EXPECT_THAT(errorIn(user(std::string("bob"))),
              testing::StartsWith("com.orvane.Gatehall1.Error.Undecidable: "));
}

TEST_F(AnswersTest, TellLoginHoursBesideTheRulesToWhoMayKnowThem) {
  limit("bob", 1001, false);
  const auto bob = canLogIn("bob");
  EXPECT_EQ(valueOf(bob, "allowed"), Value(true)) << "hours are no login rule";
  EXPECT_EQ(valueOf(bob, "sentence"),
            Value("You may not log in on this computer: not before 08:00."));
  EXPECT_EQ(valueOf(bob, "hours"),
            Value(Dictionary{{"allowedNow", false}, {"until", at(kNow + 8 * 3600)}}));
  EXPECT_EQ(valueOf(explain("bob"), "hours"), valueOf(bob, "hours"));
  EXPECT_EQ(valueOf(user(std::uint32_t{1001}), "kinwatchAllowsLogin"), Value(false));
  EXPECT_EQ(valueOf(user(std::uint32_t{1001}), "kinwatchNextCurfewTime"),
            Value(at(kNow + 8 * 3600)));
  limit("bob", 1001, true);
  EXPECT_EQ(valueOf(canLogIn("bob"), "sentence"), Value(""));
}

TEST_F(AnswersTest, AreForWhoMayNotKnowHoursAsIfThereWereNone) {
  const auto before = std::vector{canLogIn("bob", false), user(std::string("bob"), false)};
  limit("bob", 1001, false);
  EXPECT_EQ(canLogIn("bob", false), before[0]);
  EXPECT_EQ(user(std::string("bob"), false), before[1]);
  EXPECT_EQ(valueOf(before[1], "kinwatchAllowsLogin"), Value("-"));
}

TEST_F(AnswersTest, TellTheirOwnHoursToWhoMayKnowNobodyElses) {
  limit("bob", 1001, false);
  const auto asks = [](std::uint32_t own, Question::Kind kind, Whom whom) {
    return Answers({.worldFile = "test.world.json"})(
        {.kind = kind, .whom = std::move(whom), .ownUserID = own});
  };
  for (const Whom& bob : {Whom(std::string("bob")), Whom(std::uint32_t{1001})}) {
    for (const auto kind :
         {Question::Kind::CanLogIn, Question::Kind::Explain, Question::Kind::User}) {
      EXPECT_EQ(asks(1001, kind, bob), ask(kind, bob));
      EXPECT_NE(asks(1000, kind, bob), ask(kind, bob));
    }
  }
}

/// A directory that is away, and counts who wanted to know.
class AbsentNode final : public NetworkNode {
 public:
  std::optional<std::string> whyUnreachable() override {
    ++asked;
    return "away";
  }
  Reached reach() override { return {}; }
  std::optional<std::string> nodeName() override { return "ldap/away"; }
  std::optional<Strings> subnodeNames() override { return std::nullopt; }
  std::optional<Strings> unreachableSubnodeNames() override { return std::nullopt; }
  std::shared_ptr<DirectoryRecord> recordByTypeAndName(std::string_view, std::string_view,
                                                       const Strings&) override {
    return nullptr;
  }
  std::shared_ptr<DirectoryQuery> query(QueryDescription) override { return nullptr; }

  int asked = 0;
};

TEST_F(AnswersTest, OfLocalAccountsAskNoDirectoryUnlessTheyAreExplained) {
  const auto node = std::make_shared<AbsentNode>();
  const Answers answers(
      {.networkNodes = [&] { return std::vector<std::shared_ptr<NetworkNode>>{node}; }});
  answers({.kind = Question::Kind::CanLogIn, .whom = std::string("ann")});
  answers({.kind = Question::Kind::User, .whom = std::string("ann")});
  EXPECT_EQ(node->asked, 0);
  answers({.kind = Question::Kind::Explain, .whom = std::string("ann"), .mayKnowHours = true});
  EXPECT_GT(node->asked, 0);
}

TEST_F(AnswersTest, OfExplainingAreForWhoMayKnowAllAndAboutOneself) {
  // Behind bob, whose user id it has.
  local()->addRecord(LoginWorld::user("twin", "1001", kNobody));
  const auto explained = [](Whom whom) {
    return Answers({.worldFile = "test.world.json"})(
        {.kind = Question::Kind::Explain, .whom = std::move(whom), .ownUserID = 1001});
  };
  EXPECT_EQ(explained(std::string("bob")), explain("bob"));
  EXPECT_EQ(explained(std::uint32_t{1001}), ask(Question::Kind::Explain, std::uint32_t{1001}));
  EXPECT_EQ(valueOf(explain("twin"), "uid"), Value(1001));
  for (const auto* name : {"ann", "twin", "ivy"}) {
    EXPECT_THAT(errorIn(explained(std::string(name))), StartsWith(std::string(kAccessDenied)))
        << name;
  }
  EXPECT_EQ(valueOf(Answers({})({.kind = Question::Kind::CanLogIn,
                                 .whom = std::string("twin"),
                                 .ownUserID = 1001}),
                    "rule"),
            Value("hidden by a local account"));
}

TEST_F(AnswersTest, OfExplainingHaveWhatGatehallctlTells) {
  set("DenyList", Array{kDay});
  const auto dana = explain("dana");
  for (const auto& [key, value] : dictionaryIn(canLogIn("dana"))) {
    EXPECT_EQ(valueOf(dana, key), value) << key;
  }
  EXPECT_EQ(valueOf(dana, "key"), Value("DenyList"));
  EXPECT_EQ(valueOf(dana, "entry"), Value(kDay));
  EXPECT_EQ(valueOf(dana, "chain"), Value(Strings{"DenyList", "day", "dana"}));
  EXPECT_EQ(valueOf(dana, "longName"), Value("Dana Fox"));
  EXPECT_EQ(valueOf(dana, "others"), Value("-"));
  EXPECT_EQ(valueOf(dana, "unknown"), Value(Strings()));
}

TEST_F(AnswersTest, OfExplainingNameOthersWhoAreMeantAndNamesThatComeNear) {
  network()->addRecord(LoginWorld::user("bob", "2012", kNobody));
  const auto others = valueOf(explain("bob"), "others");
  ASSERT_NE(others.array(), nullptr);
  ASSERT_EQ(others.array()->size(), 1U);
  EXPECT_EQ(others.array()->front(), Value(Dictionary{{"uid", 2012},
                                                      {"name", "bob"},
                                                      {"guid", kNobody},
                                                      {"node", std::string(cast::kNetworkNode)}}));
  EXPECT_EQ(valueOf(explain("dnaa"), "nearest"), Value(Strings{"dana"}));
}

TEST_F(AnswersTest, AboutAUserHaveTheListsKeys) {
  mWorld->sessions().open({.id = 1, .userID = 1000, .userName = "ann", .loginDone = true});
  mWorld->sessions().open({.id = 2, .userID = 1001, .userName = "bob", .loginDone = true});
  mWorld->sessions().open({.id = 3, .userID = 1003, .userName = "erin", .loginDone = false});
  mWorld->sessions().setCurrent(1);
  const auto ann = user(std::string("annie"));
  EXPECT_THAT(
      keysOf(dictionaryIn(ann)),
      UnorderedElementsAre("shortName", "longName", "uid", "guid", "node", "local", "current",
                           "suspended", "mobile", "picture", "kinwatchAllowsLogin"));
  EXPECT_EQ(valueOf(ann, "shortName"), Value("ann"));
  EXPECT_EQ(user(std::uint32_t{1000}), ann);
  EXPECT_EQ(user(*parseUUID(kAnn)), ann);
  EXPECT_EQ(valueOf(ann, "current"), Value(true));
  EXPECT_EQ(valueOf(ann, "suspended"), Value(true));
  const auto bob = user(std::string("bob"));
  EXPECT_EQ(valueOf(bob, "current"), Value(false));
  EXPECT_EQ(valueOf(bob, "suspended"), Value(true));
  EXPECT_EQ(valueOf(user(std::string("erin")), "suspended"), Value(false));
}

TEST_F(AnswersTest, AboutAUserWhomNobodyIsAreAFailureThatSaysWhy) {
  EXPECT_EQ(errorIn(user(std::string("ivy"))),
            "com.orvane.Gatehall1.Error.NoSuchUser: no directory has ivy");
  local()->record(record::Users, "bob")->setValues("UserShell", {"/usr/bin/false"});
  EXPECT_EQ(errorIn(user(std::string("bob"))),
            "com.orvane.Gatehall1.Error.NoSuchUser: its shell lets nobody in");
}

TEST_F(AnswersTest, SpeakNoLanguageThatHasNoName) {
  const auto withLocale = [](const char* locale) {
    return Answers({})(
        {.kind = Question::Kind::CanLogIn, .whom = std::string("ivy"), .locale = locale});
  };
  EXPECT_EQ(withLocale("../../tmp"), withLocale(""));
  EXPECT_EQ(withLocale("xx_XX.UTF-8"), withLocale(""));
}

TEST(AnswersWording, HasEveryRuleInEveryLanguage) {
  Strings rules{"no shell",
                "locked",
                "expired",
                "no password",
                "no name",
                "no user id",
                "not in gatehall-access",
                "user id too low",
                "user id too high",
                "hidden by a local account",
                "hidden by another account",
                "no such account",
                "directory away",
                "undecidable"};
  for (int rule = 0; rule <= static_cast<int>(LoginRule::NotInAllowList); ++rule) {
    rules.emplace_back(description(static_cast<LoginRule>(rule)));
  }
  for (const auto* name : {"ar", "de", "es", "fr", "hi", "zh_CN"}) {
    const auto language = catalogueFor(name, "gatehall", GATEHALL_CATALOGUES);
    for (const auto& rule : rules) {
      EXPECT_NE(ruleText(rule, language), rule) << name;
      EXPECT_EQ(ruleText(rule, {}), rule);
    }
  }
  EXPECT_EQ(ruleText("locked", catalogueFor("de_AT.UTF-8", "gatehall", GATEHALL_CATALOGUES)),
            "gesperrt");
  EXPECT_EQ(ruleText("something new", {}), "something new");
}

TEST(AnswersWording, HasASentenceForEachRefusalInEveryLanguage) {
  for (const auto* name : {"ar", "de", "es", "fr", "hi", "zh_CN"}) {
    const auto language = catalogueFor(name, "gatehall", GATEHALL_CATALOGUES);
    for (const auto* rule :
         {"locked", "expired", "no shell", "no such account", "directory away", "undecidable"}) {
      const Verdict verdict{.rule = rule};
      const auto sentence = sentenceFor(verdict, {}, Date(), language);
      EXPECT_NE(sentence, "") << name << " " << rule;
      EXPECT_NE(sentence, sentenceFor(verdict, {}, Date(), {})) << name << " " << rule;
    }
  }
}

}  // namespace
}  // namespace gatehall::service
