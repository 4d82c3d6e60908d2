#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "service/answers/Questions.h"
#include "tests/Patience.h"

namespace gatehall::service {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

constexpr std::uint32_t kAnn = 1000;
constexpr std::uint32_t kBob = 1001;

/// Of who may know all of it.
Question about(const std::string& name) {
  return {.kind = Question::Kind::CanLogIn, .whom = name, .mayKnowHours = true};
}

std::string nameIn(const Question& question) { return std::get<std::string>(question.whom); }

std::string errorIn(const Answer& answer) {
  const auto* failure = std::get_if<Failure>(&answer);
  return failure == nullptr ? std::string() : failure->name;
}

/// Answers that a test gives one by one, as a mute directory would be waited for.
class HeldAnswers {
 public:
  Questions::Answering answering() {
    return [this](const Question& question) {
      std::unique_lock lock(mMutex);
      const auto name = nameIn(question);
      mBegun.push_back(name);
      mChanged.notify_all();
      mChanged.wait(lock, [&] { return mAllAreGiven || mGiven[name] > 0; });
      if (!mAllAreGiven) --mGiven[name];
      return Answer(Dictionary{{"name", name}, {"number", std::to_string(++mAnswers)}});
    };
  }

  void give(const std::string& name) {
    const std::lock_guard lock(mMutex);
    ++mGiven[name];
    mChanged.notify_all();
  }

  void giveAll() {
    const std::lock_guard lock(mMutex);
    mAllAreGiven = true;
    mChanged.notify_all();
  }

  /// What was begun, in that order, once it is as many.
  std::vector<std::string> begun(std::size_t count) {
    std::unique_lock lock(mMutex);
    mChanged.wait_for(lock, kPatience, [&] { return mBegun.size() >= count; });
    return mBegun;
  }

 private:
  std::mutex mMutex;
  std::condition_variable mChanged;
  std::vector<std::string> mBegun;
  std::map<std::string, int> mGiven;
  bool mAllAreGiven = false;
  int mAnswers = 0;
};

class QuestionsTest : public testing::Test {
 protected:
  ~QuestionsTest() override { held.giveAll(); }

  void start(QuestionLimits limits = {}) {
    questions = std::make_unique<Questions>(held.answering(), limits);
  }

  std::future<Answer> ask(std::uint32_t userID, const std::string& name,
                          const std::string& client = ":1.1") {
    auto promise = std::make_shared<std::promise<Answer>>();
    auto answer = promise->get_future();
    questions->ask(userID, client, about(name),
                   [promise](Answer found) { promise->set_value(std::move(found)); });
    return answer;
  }

  static Answer answerOf(std::future<Answer>& answer) {
    if (answer.wait_for(kPatience) != std::future_status::ready) return Failure{"none", ""};
    return answer.get();
  }

  void waitUntilIdle() const {
    const auto until = std::chrono::steady_clock::now() + kPatience;
    while (!questions->isIdle() && std::chrono::steady_clock::now() < until) {
      std::this_thread::yield();
    }
    EXPECT_TRUE(questions->isIdle());
  }

  HeldAnswers held;
  std::unique_ptr<Questions> questions;
};

TEST_F(QuestionsTest, AreAnsweredEachByItsOwn) {
  start();
  held.giveAll();
  auto ann = ask(kAnn, "ann");
  auto bob = ask(kBob, "bob");
  EXPECT_EQ(std::get<Dictionary>(answerOf(ann)).at("name"), Value("ann"));
  EXPECT_EQ(std::get<Dictionary>(answerOf(bob)).at("name"), Value("bob"));
  waitUntilIdle();
}

TEST_F(QuestionsTest, ThatTakeLongHoldUpNoOther) {
  start();
  auto mute = ask(kAnn, "mute");
  held.give("ann");
  auto ann = ask(kAnn, "ann");
  EXPECT_EQ(std::get<Dictionary>(answerOf(ann)).at("name"), Value("ann"));
  EXPECT_EQ(mute.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
  EXPECT_FALSE(questions->isIdle());
}

TEST_F(QuestionsTest, ThatAreEqualAndBegunLaterGetOneAnswerAndNoneThatBeganBeforeThem) {
  start();
  auto first = ask(kAnn, "ann");
  EXPECT_THAT(held.begun(1), ElementsAre("ann"));
  std::vector<std::future<Answer>> later;
  for (int client = 0; client < 50; ++client) {
    later.push_back(ask(client % 2 == 0 ? kAnn : kBob, "ann"));
  }
  held.give("ann");
  EXPECT_EQ(std::get<Dictionary>(answerOf(first)).at("number"), Value("1"));
  held.give("ann");
  for (auto& each : later) {
    EXPECT_EQ(std::get<Dictionary>(answerOf(each)).at("number"), Value("2"));
  }
  EXPECT_THAT(held.begun(2), ElementsAre("ann", "ann"));
}

TEST_F(QuestionsTest, OfOtherKindsLocalesAndRightsAreOthers) {
  const Question question{.kind = Question::Kind::CanLogIn,
                          .whom = std::string("1000"),
                          .locale = "de",
                          .ownUserID = kAnn};
  const auto differs = [&](auto change) {
    auto other = question;
    change(other);
    return other != question;
  };
  EXPECT_TRUE(differs([](auto& other) { other.kind = Question::Kind::Explain; }));
  EXPECT_TRUE(differs([](auto& other) { other.whom = std::uint32_t{1000}; }));
  EXPECT_TRUE(differs([](auto& other) { other.locale = "fr"; }));
  EXPECT_TRUE(differs([](auto& other) { other.mayKnowHours = true; }));
  EXPECT_TRUE(differs([](auto& other) { other.ownUserID = kBob; }));
}

TEST(QuestionsOwnUserID, IsTheCallersWhereNotAllHoursMayBeKnown) {
  std::promise<std::vector<std::optional<std::uint32_t>>> all;
  std::vector<std::optional<std::uint32_t>> found;
  const auto answering = [&](const Question& question) {
    found.push_back(question.ownUserID);
    if (found.size() == 2) all.set_value(found);
    return Dictionary();
  };
  Questions questions(answering, {.running = 1});
  for (const bool mayKnowHours : {true, false}) {
    questions.ask(kAnn, ":1.1",
                  {.kind = Question::Kind::CanLogIn,
                   .whom = kBob,
                   .mayKnowHours = mayKnowHours,
                   .ownUserID = kBob},
                  [](const Answer&) {});
  }
  auto told = all.get_future();
  ASSERT_EQ(told.wait_for(kPatience), std::future_status::ready);
  EXPECT_THAT(told.get(), ElementsAre(std::nullopt, kAnn));
}

TEST_F(QuestionsTest, OfOneUserIDAreWorkedOnUpToItsShareAndOthersComeBesides) {
  start({.running = 2, .runningInAll = 3});
  std::vector<std::future<Answer>> answers;
  for (const auto* name : {"a1", "a2", "a3"}) answers.push_back(ask(kAnn, name));
  EXPECT_THAT(held.begun(2), UnorderedElementsAre("a1", "a2"));
  answers.push_back(ask(kBob, "b1"));
  EXPECT_EQ(held.begun(3).back(), "b1");
  held.give("b1");
  EXPECT_EQ(errorIn(answerOf(answers.back())), "");
  EXPECT_EQ(held.begun(3).size(), 3U) << "a3 waits for ann's own";
  held.give("a1");
  EXPECT_EQ(held.begun(4).back(), "a3");
}

TEST_F(QuestionsTest, OfAFewUserIDsLeavePlacesForThoseOfOthers) {
  start({.running = 4, .runningInAll = 8});
  std::vector<std::future<Answer>> answers;
  for (const auto userID : {1U, 2U}) {
    for (const auto* name : {" a", " b", " c", " d"}) {
      answers.push_back(ask(userID, std::to_string(userID) + name));
    }
  }
  EXPECT_THAT(held.begun(6), SizeIs(6));
  for (const auto* name : {"ann", "bob"}) {
    answers.push_back(ask(name == std::string("ann") ? kAnn : kBob, name));
  }
  const auto begun = held.begun(8);
  EXPECT_THAT(begun, SizeIs(8));
  EXPECT_THAT(std::vector(begun.begin() + 6, begun.end()), UnorderedElementsAre("ann", "bob"));
  held.giveAll();
  EXPECT_THAT(held.begun(10), SizeIs(10));
  waitUntilIdle();
}

TEST_F(QuestionsTest, OfUserIDsTakeTurns) {
  start({.running = 1, .runningInAll = 1});
  std::vector<std::future<Answer>> answers;
  for (const auto* name : {"a1", "a2", "a3"}) answers.push_back(ask(kAnn, name));
  EXPECT_THAT(held.begun(1), ElementsAre("a1"));
  for (const auto* name : {"b1", "b2"}) answers.push_back(ask(kBob, name));
  held.giveAll();
  EXPECT_THAT(held.begun(5), ElementsAre("a1", "a2", "b1", "a3", "b2"));
  waitUntilIdle();
}

TEST_F(QuestionsTest, BeyondALimitAreRefusedAtOnceAndThoseOfOthersAreNot) {
  start({.asked = 2, .askedInAll = 3});
  std::vector<std::future<Answer>> answers;
  for (const auto* name : {"a1", "a2"}) answers.push_back(ask(kAnn, name));
  auto third = ask(kAnn, "a3");
  ASSERT_EQ(third.wait_for(std::chrono::seconds(0)), std::future_status::ready);
  EXPECT_EQ(errorIn(third.get()), "org.freedesktop.DBus.Error.LimitsExceeded");
  auto bob = ask(kBob, "b1");
  EXPECT_EQ(bob.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
  auto fourth = ask(kBob, "b2");
  ASSERT_EQ(fourth.wait_for(std::chrono::seconds(0)), std::future_status::ready);
  EXPECT_EQ(errorIn(fourth.get()), "org.freedesktop.DBus.Error.LimitsExceeded");
  held.give("a1");
  EXPECT_EQ(errorIn(answerOf(answers.front())), "");
  held.giveAll();
  auto again = ask(kAnn, "a3");
  EXPECT_EQ(errorIn(answerOf(again)), "") << "the place is free again";
}

TEST_F(QuestionsTest, OfAClientThatIsGoneAreNotBegunAndFreeTheirPlaces) {
  start({.asked = 2, .running = 1});
  auto first = ask(kAnn, "a1", ":1.1");
  EXPECT_THAT(held.begun(1), ElementsAre("a1"));
  auto second = ask(kAnn, "a2", ":1.1");
  questions->forget(":1.1");
  EXPECT_THROW(second.get(), std::future_error) << "never answered";
  EXPECT_FALSE(questions->isIdle()) << "what was begun goes on";
  auto third = ask(kAnn, "a3", ":1.2");
  auto fourth = ask(kAnn, "a4", ":1.2");
  EXPECT_EQ(fourth.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
  held.giveAll();
  EXPECT_EQ(errorIn(answerOf(fourth)), "");
  EXPECT_THAT(held.begun(3), ElementsAre("a1", "a3", "a4"));
  waitUntilIdle();
}

TEST_F(QuestionsTest, OfAClientThatIsGoneStayWithThoseWhoAskTheSame) {
  start({.running = 1});
  auto first = ask(kAnn, "a1", ":1.1");
  EXPECT_THAT(held.begun(1), ElementsAre("a1"));
  auto gone = ask(kAnn, "a2", ":1.2");
  auto there = ask(kBob, "a2", ":1.3");
  EXPECT_EQ(held.begun(2).back(), "a2") << "in bob's turn";
  questions->forget(":1.2");
  held.give("a2");
  EXPECT_EQ(std::get<Dictionary>(answerOf(there)).at("name"), Value("a2"));
}

TEST_F(QuestionsTest, ThatTakeTooLongAreAnsweredByAFailureAndTheirWorkKeepsItsPlace) {
  start({.running = 1, .longest = std::chrono::milliseconds(1)});
  // A busy machine may let the first ones pass before it begins one.
  do {
    auto mute = ask(kAnn, "mute");
    EXPECT_EQ(errorIn(answerOf(mute)), "org.freedesktop.DBus.Error.Timeout");
  } while (held.begun(0).empty());
  EXPECT_FALSE(questions->isIdle());
  auto waits = ask(kAnn, "waits");
  EXPECT_EQ(errorIn(answerOf(waits)), "org.freedesktop.DBus.Error.Timeout");
  held.giveAll();
  waitUntilIdle();
  EXPECT_THAT(held.begun(1), ElementsAre("mute")) << "nobody waits for the other any more";
}

TEST_F(QuestionsTest, MayBeAskedAndForgottenFromManyThreadsAndFromAnswers) {
  start({.asked = 10'000, .askedInAll = 10'000});
  held.giveAll();
  std::atomic<int> answers = 0;
  {
    std::vector<std::jthread> threads;
    for (std::uint32_t user = 0; user < 4; ++user) {
      threads.emplace_back([&, user] {
        for (int number = 0; number < 100; ++number) {
          questions->ask(user, ":1.1", about(std::to_string(number % 7)), [&, user](const Answer&) {
            questions->ask(user, ":1.1", about("again"), [&](const Answer&) { ++answers; });
          });
          questions->forget(":1.2");
        }
      });
    }
  }
  waitUntilIdle();
  EXPECT_EQ(answers, 400);
}

TEST_F(QuestionsTest, ThatAreLeftAreNeverAnsweredAndThoseInWorkAreWaitedFor) {
  start({.running = 1});
  auto first = ask(kAnn, "a1");
  auto second = ask(kAnn, "a2");
  EXPECT_THAT(held.begun(1), ElementsAre("a1"));
  std::thread ends([this] { questions.reset(); });
  held.give("a1");
  EXPECT_EQ(errorIn(answerOf(first)), "");
  held.giveAll();
  ends.join();
  const bool isAnswered = second.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
  EXPECT_TRUE(isAnswered) << "by a value or by none, but not left waiting";
}

}  // namespace
}  // namespace gatehall::service
