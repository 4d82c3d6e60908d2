#include <gmock/gmock.h>

#include "gatehall/base/PlatformException.h"
#include "linux/nss/Message.h"

namespace gatehall::nss {
namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;

std::string body(const std::string& framed) { return framed.substr(kLengthBytes); }

Answer sample() {
  Answer answer;
  answer.users = {{"dana", 20001, 20000, "Dana Fox", "/home/dana", "/bin/sh"}};
  answer.groups = {{"staff", 20010, {"dana", "ed"}}};
  answer.groupIDs = {{1, 2}, {}};
  return answer;
}

}  // namespace

TEST(NssMessage, ComesThroughAsItWas) {
  const auto framed = written(sample());
  EXPECT_EQ(lengthOf(framed.substr(0, kLengthBytes)), framed.size() - kLengthBytes);
  const auto answer = readAnswer(body(framed));
  EXPECT_EQ(answer.users.at(0).home, "/home/dana");
  EXPECT_EQ(answer.users.at(0).groupID, 20000U);
  EXPECT_EQ(answer.groups.at(0).members, (Strings{"dana", "ed"}));
  EXPECT_EQ(answer.groupIDs, sample().groupIDs);
  const auto question = readQuestion(body(written(Question{Asked::GroupsByID, {"7", ""}})));
  EXPECT_EQ(question.asked, Asked::GroupsByID);
  EXPECT_EQ(question.values, (Strings{"7", ""}));
}

TEST(NssMessage, IsReadWholeOrNotAtAll) {
  const auto whole = body(written(sample()));
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_THROW(readAnswer(std::string_view(whole).substr(0, length)), PlatformException)
        << length;
  }
  EXPECT_THAT([&] { readAnswer(whole + "x"); },
              ThrowsMessage<PlatformException>(HasSubstr("goes on behind its end")));
  EXPECT_THROW(readQuestion(body(written(Question{static_cast<Asked>(99), {}}))),
               PlatformException);
}

TEST(NssMessage, HasNamesThatCanBeOnes) {
  for (const auto* name : {"", "da\nna", "dana\x7f"}) {
    auto answer = sample();
    answer.users[0].name = name;
    EXPECT_THROW(readAnswer(body(written(answer))), PlatformException) << name;
    answer = sample();
    answer.groups[0].members[1] = name;
    EXPECT_THROW(readAnswer(body(written(answer))), PlatformException) << name;
  }
  auto answer = sample();
  answer.users[0].shell = std::string("/bin/sh\0x", 9);
  EXPECT_THROW(readAnswer(body(written(answer))), PlatformException);
  answer.users[0].shell = std::string(65537, 'x');
  EXPECT_THROW(readAnswer(body(written(answer))), PlatformException);
}

}  // namespace gatehall::nss
