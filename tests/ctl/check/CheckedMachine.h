#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "tests/ctl/RunWorld.h"
#include "tests/linux/Machine.h"

namespace gatehall {

/// A machine under a folder with which nothing is wrong until a test changes something: ann is an
/// administrator, bob is not.
class CheckedMachine : public testing::Test {
 protected:
  static constexpr std::string_view kPasswd =
      "root:x:0:0::/root:/bin/sh\n"
      "ann:x:1000:1000:Ann:/home/ann:/bin/sh\n"
      "bob:x:1001:1001:Bob:/home/bob:/bin/sh\n";
  static constexpr std::string_view kGroup = "root:x:0:\nsudo:x:27:ann\nann:x:1000:\nbob:x:1001:\n";
  static constexpr std::string_view kShadow =
      "root:*:19000:0:99999:7:::\nann::19000:0:99999:7:::\nbob::19000:0:99999:7:::\n";
  static constexpr std::string_view kManaged = "/etc/gatehall/managed/com.orvane.gatehall.plist";

  CheckedMachine() {
    passwd("");
    group("");
    shadow("");
  }

  void passwd(std::string_view more) const { machine.write("/etc/passwd", with(kPasswd, more)); }
  void group(std::string_view more) const { machine.write("/etc/group", with(kGroup, more)); }
  void shadow(std::string_view more) const {
    machine.write("/etc/shadow", with(kShadow, more));
    mode("/etc/shadow", 0640);
  }
  void mode(std::string_view path, mode_t bits) const {
    ASSERT_EQ(chmod(machine.path(path).c_str(), bits), 0);
  }

  /// An XML property list of these elements, which begin on line 3.
  void plist(std::string_view path, std::string_view elements) const {
    machine.write(path,
                  "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>\n" +
                      std::string(elements) + "\n</dict></plist>\n");
  }

  nlohmann::ordered_json document() {
    outcome = run({"--root", machine.options.root, "--json", "check"});
    return documentOf(outcome);
  }

  /// What is found, "SEVERITY FILE:LINE TEXT" each.
  Strings findings() {
    const auto answer = document();
    Strings texts;
    for (const auto& each : answer["findings"]) {
      EXPECT_TRUE(each["remedy"].is_string()) << each;
      auto text = each["severity"].get<std::string>() + " ";
      if (each["file"].is_string()) text += each["file"].get<std::string>();
      if (each["line"].is_number()) text += ":" + std::to_string(each["line"].get<int>());
      texts.push_back(text + " " + each["text"].get<std::string>());
    }
    return texts;
  }

  Machine machine;
  ctl::Outcome outcome;

 private:
  static std::string with(std::string_view lines, std::string_view more) {
    return std::string(lines).append(more);
  }
};

}  // namespace gatehall
