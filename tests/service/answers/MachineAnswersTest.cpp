#include <condition_variable>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "gatehall/linux/LinuxPlatform.h"
#include "gatehall/platform/Platform.h"
#include "service/answers/Answers.h"
#include "service/answers/Questions.h"
#include "tests/Patience.h"
#include "tests/linux/Machine.h"
#include "tests/linux/directory/MachineNode.h"

// A machine under a folder, whose accounts are asked about.

namespace gatehall::service {
namespace {

using Kind = Question::Kind;

LinuxOptions linuxOptions(const HostOptions& options) {
  LinuxOptions result;
  result.setSessionLimits(false);
  result.setRoot(options.root);
  result.setRunning(false);
  return result;
}

class MachineAnswers : public testing::Test {
 protected:
  ~MachineAnswers() override { Platform::install(nullptr); }

  void install() {
    machine.options.isRunning = false;
    mPlatform =
        std::make_shared<LinuxPlatform>(linuxOptions(machine.options), std::make_shared<KeptLog>());
    Platform::install(mPlatform);
  }

  Answer ask(Kind kind, Whom whom, std::string locale = {}) {
    return Answers(hostOf(*mPlatform, machine.options))(
        {.kind = kind, .whom = std::move(whom), .locale = std::move(locale), .mayKnowHours = true});
  }

  Machine machine;

 private:
  std::shared_ptr<LinuxPlatform> mPlatform;
};

/// A line of passwd(5).
std::string accountLine(const std::string& name, unsigned number) {
  const auto text = std::to_string(number);
  const auto* shell = name == "noshell" ? "/usr/sbin/nologin" : "/bin/bash";
  return name + ":x:" + text + ":" + text + ":" + name + ":/home/" + name + ":" + shell + "\n";
}

const Strings kKinds{"plain",  "locked",  "expired", "dueold",
                     "dueat0", "noshell", "denied",  "admin"};

/// All answers about accounts of every kind when each has that password.
std::map<std::string, Answer> answersWith(const std::string& password) {
  class Here final : public MachineAnswers {
   public:
    void TestBody() override {}
    std::map<std::string, Answer> answers(const std::string& hash) {
      std::string passwd = "root:x:0:0::/root:/bin/bash\n";
      std::string shadow = "root:*:19000:0:99999:7:::\n";
      unsigned number = 1000;
      for (const auto& name : kKinds) {
        passwd += accountLine(name, number++);
        shadow += name + ":" + hash;
        shadow += name == "dueat0" ? ":0" : ":19000";
        shadow += name == "dueold" ? ":0:5:7:" : ":0:99999:7:";
        shadow += name == "expired" ? ":1:\n" : "::\n";
      }
      passwd += "inpasswd:" + hash + ":1100:1100::/home/inpasswd:/bin/bash\n";
      machine.write("/etc/passwd", passwd);
      machine.write("/etc/shadow", shadow);
      machine.write("/etc/userdb/locked.user",
                    R"({"userName": "locked", "uid": 1001, "locked": true})");
      machine.write("/etc/group",
                    "sudo:x:27:admin\ngatehall-access:x:900:plain,locked,expired,"
                    "dueold,dueat0,noshell,admin,inpasswd\n");
      install();
      std::map<std::string, Answer> all;
      auto names = kKinds;
      names.emplace_back("inpasswd");
      names.emplace_back("nobodyatall");
      for (const auto& name : names) {
        for (const auto kind : {Kind::CanLogIn, Kind::Explain, Kind::User}) {
          all.emplace(name + " " + std::to_string(static_cast<int>(kind)), ask(kind, name));
        }
      }
      return all;
    }
  };
  return Here().answers(password);
}

TEST(PasswordsInAnswers, AnEmptyOneAndAnotherGetTheSame) {
  const auto empty = answersWith("");
  const auto set = answersWith(
      "$6$salt$qFmFH.bQmmtXzyBY0s9v7Oicd2z4XSIecDzlB5KiA2/jctKu9YterLp8wwn"
      "SgYqbPPwMlp2Gl9NRmzTmzdfDC1");
  ASSERT_EQ(empty.size(), set.size());
  for (const auto& [about, answer] : set) EXPECT_TRUE(answer == empty.at(about)) << about;
  // They differ where they should, so that they are answers at all.
  const auto ruleOf = [&](const std::string& name) {
    return std::get<Dictionary>(set.at(name + " 0")).at("rule");
  };
  EXPECT_EQ(ruleOf("plain"), Value("local login enabled"));
  EXPECT_EQ(ruleOf("locked"), Value("locked"));
  EXPECT_EQ(ruleOf("expired"), Value("expired"));
  EXPECT_EQ(ruleOf("noshell"), Value("no shell"));
  EXPECT_EQ(ruleOf("denied"), Value("not in gatehall-access"));
  EXPECT_EQ(ruleOf("admin"), Value("administrator"));
  EXPECT_EQ(ruleOf("inpasswd"), Value("local login enabled"));
}

TEST(PasswordsInAnswers, AreNoPartOfThem) {
  constexpr const char* kHash = "$6$pepper$secret";
  for (const auto& [about, answer] : answersWith(kHash)) {
    const auto* entries = std::get_if<Dictionary>(&answer);
    const auto text = entries != nullptr ? description(*entries) : std::get<Failure>(answer).text;
    EXPECT_EQ(text.find("pepper"), std::string::npos) << about;
    EXPECT_EQ(text.find("empty"), std::string::npos) << about;
  }
}

TEST_F(MachineAnswers, SpeakTheMachinesLanguageWhereNoneIsAskedFor) {
  machine.write("/etc/passwd", "ann:x:1000:1000::/home/ann:/bin/bash\n");
  machine.write("/etc/locale.conf", "LANG=../../x\n");
  install();
  const auto answer = std::get<Dictionary>(ask(Kind::CanLogIn, std::string("ivy")));
  EXPECT_EQ(answer.at("ruleText"), Value("no such account")) << "no language by such a name";
}

TEST_F(MachineAnswers, ExplainWhereItStandsInTheMachinesFiles) {
  machine.write("/etc/passwd",
                "root:x:0:0::/root:/bin/bash\nann:x:1000:1000::/home/ann:/bin/bash\n");
  machine.write("/etc/shadow", "root:*:1::::::\nann:!$6$a$b:19000:0:99999:7:::\n");
  install();
  const auto ann = std::get<Dictionary>(ask(Kind::Explain, std::uint32_t{1000}));
  EXPECT_EQ(ann.at("rule"), Value("locked"));
  EXPECT_EQ(ann.at("file"), Value("/etc/shadow"));
  EXPECT_EQ(ann.at("line"), Value(2));
}

/// A network directory that gives no answer about one of its people until it is released.
class HalfMuteNode final : public NetworkNode {
 public:
  explicit HalfMuteNode(std::string person) : mPerson(std::move(person)) {
    mNode.machine.write("/etc/passwd", "dana:x:20001:20001::/home/dana:/bin/bash\n");
    mNode.machine.write("/etc/shadow", "dana:$6$a$b:19000:0:99999:7:::\n");
  }

  std::optional<std::string> nodeName() override { return mNode.nodeName(); }
  std::optional<Strings> subnodeNames() override { return std::nullopt; }
  std::optional<Strings> unreachableSubnodeNames() override { return std::nullopt; }
  std::shared_ptr<DirectoryRecord> recordByTypeAndName(std::string_view, std::string_view,
                                                       const Strings&) override {
    return nullptr;
  }
  std::shared_ptr<DirectoryQuery> query(QueryDescription description) override {
    std::unique_lock lock(mMutex);
    if (description.values == Strings{mPerson}) {
      ++mAsked;
      mChanged.notify_all();
      mChanged.wait(lock, [this] { return mIsReleased; });
      throw DirectoryUnreachable("ldap/example gives no answer");
    }
    return mNode.query(std::move(description));
  }
  std::optional<std::string> whyUnreachable() override { return std::nullopt; }
  Reached reach() override { return {}; }

  void waitUntilAsked(int times) {
    std::unique_lock lock(mMutex);
    EXPECT_TRUE(mChanged.wait_for(lock, kPatience, [&] { return mAsked >= times; }));
  }
  int asked() {
    const std::lock_guard lock(mMutex);
    return mAsked;
  }
  void release() {
    const std::lock_guard lock(mMutex);
    mIsReleased = true;
    mChanged.notify_all();
  }

 private:
  const std::string mPerson;
  std::mutex mMutex;
  std::condition_variable mChanged;
  MachineNode mNode;
  int mAsked = 0;
  bool mIsReleased = false;
};

/// A machine that asks such a directory.
class PlatformWithNode final : public LinuxSwitchPlatform {
 public:
  PlatformWithNode(const HostOptions& options, std::shared_ptr<NetworkNode> node)
      : LinuxSwitchPlatform(linuxOptions(options), std::make_shared<KeptLog>()),
        mDirectory(options, log(), clock(), {std::move(node)}) {}

  DirectoryService& directory() override { return mDirectory; }

 private:
  LinuxDirectory mDirectory;
};

TEST(MuteDirectory, DelaysOnlyWhoNeedsIt) {
  Machine machine;
  machine.options.isRunning = false;
  machine.write("/etc/passwd", "ann:x:1000:1000::/home/ann:/bin/bash\n");
  machine.write("/etc/shadow", "ann:$6$a$b:19000:0:99999:7:::\n");
  const auto node = std::make_shared<HalfMuteNode>("mona");
  Platform::install(std::make_shared<PlatformWithNode>(machine.options, node));
  {
    Questions questions{Answers({.machine = &machine.options})};
    const auto ask = [&questions](std::uint32_t userID, const char* name) {
      auto promise = std::make_shared<std::promise<Answer>>();
      auto answer = promise->get_future();
      questions.ask(userID, ":1.1",
                    {.kind = Kind::CanLogIn, .whom = std::string(name), .mayKnowHours = true},
                    [promise](Answer found) { promise->set_value(std::move(found)); });
      return answer;
    };
    auto mute = ask(1000, "mona");
    node->waitUntilAsked(1);
    std::vector<std::future<Answer>> same;
    for (std::uint32_t client = 0; client < 20; ++client) same.push_back(ask(2000, "mona"));
    for (const auto userID : {1000U, 2000U, 3000U}) {
      for (const auto* name : {"ann", "dana", "nobody"}) {
        auto answer = ask(userID, name);
        ASSERT_EQ(answer.wait_for(kPatience), std::future_status::ready) << name;
        EXPECT_NE(std::get<Dictionary>(answer.get()).at("rule"), Value("undecidable")) << name;
      }
    }
    EXPECT_EQ(mute.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    node->release();
    EXPECT_EQ(std::get<Dictionary>(mute.get()).at("rule"), Value("undecidable"));
    for (auto& each : same) {
      EXPECT_EQ(std::get<Dictionary>(each.get()).at("rule"), Value("undecidable"));
    }
  }
  EXPECT_EQ(node->asked(), 2) << "once for the first, and once for all who asked meanwhile";
  Platform::install(nullptr);
}

}  // namespace
}  // namespace gatehall::service
