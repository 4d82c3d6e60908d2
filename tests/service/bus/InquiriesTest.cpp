#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mutex>

#include "tests/service/ListModel.h"
#include "tests/service/RunningFront.h"
#include "tests/service/rights/Peers.h"

namespace gatehall {
namespace {

using service::Question;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

/// What the service asked, in short: "can-log-in ann", "explain 1000 with hours".
class Asked {
 public:
  service::Answer operator()(const Question& question) {
    const auto* kind = question.kind == Question::Kind::CanLogIn  ? "can-log-in "
                       : question.kind == Question::Kind::Explain ? "explain "
                                                                  : "user ";
    const std::lock_guard lock(mMutex);
    mTexts.push_back(kind + whomText(question.whom) + " " + question.locale +
                     (question.mayKnowHours ? " with hours" : ""));
    const bool isNobody = question.whom == Whom("nobody");
    const bool isOther = isNobody || question.whom == Whom("ann") || question.whom == Whom(kOther);
    const auto userID = isOther ? kOther : me;
    if (question.kind == Question::Kind::Explain && !question.mayKnowHours &&
        question.ownUserID != userID) {
      return service::Failure{std::string(service::kAccessDenied), "It is not about who asks"};
    }
    if (isNobody) return service::Failure{service::kNoSuchUser, "Nobody has that name"};
    return Dictionary{{"uid", std::int64_t{userID}},
                      {"hours", question.mayKnowHours || question.ownUserID == userID}};
  }

  Strings take() {
    const std::lock_guard lock(mMutex);
    return std::exchange(mTexts, {});
  }

  static constexpr std::uint32_t kOther = 4242;
  std::uint32_t me = 0;

 private:
  std::mutex mMutex;
  Strings mTexts;
};

class Inquiries : public testing::Test {
 protected:
  Inquiries() {
    const std::filesystem::path socket(front.bus.address().substr(front.bus.address().find('/')));
    using std::filesystem::perms;
    std::filesystem::permissions(socket.parent_path(), perms::group_exec | perms::others_exec,
                                 std::filesystem::perm_options::add);
    const Nobody nobody;
    asked.me = geteuid();
    plain = front.client();
  }

  /// What comes of a call: the answer's hours or the error.
  template <class... Arguments>
  static std::string answer(Client& client, const char* member, const char* types,
                            Arguments... arguments) {
    try {
      const auto answer = client.call(member, types, arguments...);
      return answer.at(0).dictionary()->at("hours").description();
    } catch (const Refusal& refusal) {
      return refusal.name;
    }
  }

  std::string myID() const { return std::to_string(asked.me); }

  Asked asked;
  RunningFront front{{}, [this](const Question& question) { return asked(question); }};
  std::unique_ptr<Client> plain;  ///< of somebody who isn't root
};

TEST_F(Inquiries, AnswerOthersWithoutHours) {
  EXPECT_EQ(answer(*plain, "CanLogIn", "ss", "ann", "de_AT.UTF-8"), "0");
  EXPECT_THAT(asked.take(), ElementsAre("can-log-in ann de_AT.UTF-8"));
  EXPECT_EQ(answer(*plain, "CanLogInByID", "us", Asked::kOther, ""), "0");
  EXPECT_THAT(asked.take(), ElementsAre("can-log-in 4242 "));
  EXPECT_EQ(answer(*plain, "UserByName", "s", "ann"), "0");
  EXPECT_EQ(answer(*plain, "UserByID", "u", Asked::kOther), "0");
  EXPECT_THAT(asked.take(), ElementsAre("user ann ", "user 4242 "));
}

TEST_F(Inquiries, AnswerOneselfWithHours) {
  EXPECT_EQ(answer(*plain, "CanLogInByID", "us", asked.me, ""), "1");
  EXPECT_THAT(asked.take(), ElementsAre("can-log-in " + myID() + " "));
  EXPECT_EQ(answer(*plain, "CanLogIn", "ss", "me", "C"), "1");
  EXPECT_THAT(asked.take(), ElementsAre("can-log-in me C"));
  const auto* guid = "00000000-0000-4000-8000-000000001000";
  EXPECT_EQ(answer(*plain, "UserByGUID", "s", guid), "1");
  EXPECT_THAT(asked.take(), ElementsAre(std::string("user ") + guid + " "));
}

TEST_F(Inquiries, ExplainToOneselfAlone) {
  EXPECT_EQ(answer(*plain, "ExplainByID", "us", asked.me, ""), "1");
  EXPECT_THAT(asked.take(), ElementsAre("explain " + myID() + " "));
  EXPECT_EQ(answer(*plain, "Explain", "ss", "me", ""), "1");
  EXPECT_THAT(asked.take(), ElementsAre("explain me "));
  EXPECT_EQ(answer(*plain, "ExplainByID", "us", Asked::kOther, ""), SD_BUS_ERROR_ACCESS_DENIED);
  EXPECT_THAT(asked.take(), IsEmpty());
  EXPECT_EQ(answer(*plain, "Explain", "ss", "ann", ""), SD_BUS_ERROR_ACCESS_DENIED);
  EXPECT_THAT(asked.take(), ElementsAre("explain ann "));
  EXPECT_EQ(answer(*plain, "Explain", "ss", "nobody", ""), SD_BUS_ERROR_ACCESS_DENIED);
  EXPECT_THAT(asked.take(), ElementsAre("explain nobody "));
}

TEST_F(Inquiries, TellRootAll) {
  if (geteuid() != 0) GTEST_SKIP() << "This is about root.";
  const auto root = front.client();
  EXPECT_EQ(answer(*root, "CanLogIn", "ss", "ann", ""), "1");
  EXPECT_EQ(answer(*root, "Explain", "ss", "ann", ""), "1");
  EXPECT_EQ(answer(*root, "UserByName", "s", "ann"), "1");
  EXPECT_THAT(asked.take(), ElementsAre("can-log-in ann  with hours", "explain ann  with hours",
                                        "user ann  with hours"));
}

TEST_F(Inquiries, TellWhyThereIsNoAnswer) {
  EXPECT_EQ(answer(*plain, "UserByName", "s", "nobody"), service::kNoSuchUser);
}

TEST_F(Inquiries, RefuseWhatMeansNobody) {
  const std::string tooLong(257, 'x');
  EXPECT_EQ(answer(*plain, "CanLogIn", "ss", "", ""), SD_BUS_ERROR_INVALID_ARGS);
  EXPECT_EQ(answer(*plain, "CanLogIn", "ss", tooLong.c_str(), ""), SD_BUS_ERROR_INVALID_ARGS);
  EXPECT_EQ(answer(*plain, "CanLogIn", "ss", "ann", tooLong.c_str()), SD_BUS_ERROR_INVALID_ARGS);
  EXPECT_EQ(answer(*plain, "ExplainByID", "us", 0xFFFFFFFFU, ""), SD_BUS_ERROR_INVALID_ARGS);
  EXPECT_EQ(answer(*plain, "UserByID", "u", 0xFFFFFFFFU), SD_BUS_ERROR_INVALID_ARGS);
  EXPECT_EQ(answer(*plain, "UserByGUID", "s", "ann"), SD_BUS_ERROR_INVALID_ARGS);
  EXPECT_EQ(answer(*plain, "UserByGUID", "s", ""), SD_BUS_ERROR_INVALID_ARGS);
  EXPECT_THAT(asked.take(), IsEmpty());
  EXPECT_EQ(answer(*plain, "CanLogIn", "ss", tooLong.substr(1).c_str(), ""), "1");
}

}  // namespace
}  // namespace gatehall
