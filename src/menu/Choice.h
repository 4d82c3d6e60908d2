#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "gatehall/platform/RunLoop.h"
#include "listing/ListedUser.h"
#include "people/Person.h"
#include "people/Words.h"

namespace gatehall::menu {

/// What stands on the menu beside the list.
struct ChoiceView {
  enum class Stage {
    Choosing,
    Asking,     ///< whether who was chosen may log in
    Switching,  ///< for which gatehall-switch was run
    Over        ///< there is nothing left to choose: the menu goes
  };

  Stage stage = Stage::Choosing;
  std::string title{};  ///< a line; "": nothing is said
  std::string text{};   ///< more about it; may be ""

  friend bool operator==(const ChoiceView&, const ChoiceView&) = default;
};

/// What became of a run of gatehall-switch(1), which tells nobody but the system log how it went.
struct SwitchRun {
  enum class End { Whole, NotStarted, Broken };

  End end = End::Whole;
  std::string why{};  ///< it wasn't started
};

/// What the menu has the machine do. Answers come from the main loop, once, or never.
struct ChoiceHost {
  std::function<void(const Person& person, std::function<void(const Admission&)> answer)> ask;
  /// Runs gatehall-switch with the words.
  std::function<void(const std::vector<std::string>& words, std::function<void(const SwitchRun&)>)>
      run;
};

/// From the choice of a person to the switch: the service is asked whether that one may log in, who
/// may not is told why, for everybody else gatehall-switch is run, and a switch that doesn't come
/// is said. Without a toolkit. On the main thread.
class Choice {
 public:
  /// "shown" is called whenever the view is another. The loop outlives the choice.
  Choice(std::uint32_t ownUser, RunLoop& runLoop, ChoiceHost host, Words words,
         std::function<void()> shown);
  Choice(const Choice&) = delete;
  Choice& operator=(const Choice&) = delete;

  const ChoiceView& view() const { return mView; }

  /// What is chosen while another switch is on its way is passed over.
  void choose(const Person& person);
  void chooseLoginScreen();
  /// Takes back what isn't asked of the machine yet, and what is said.
  void back();
  /// Who has a session, as the service tells: by that a switch is seen to have come.
  void know(const ListedUsers& users);

 private:
  struct Target {
    std::string name{};
    std::optional<std::uint32_t> uid{};  ///< absent: the login screen
  };

  void answered(const Admission& admission);
  void run();
  void ended(const SwitchRun& run);
  void fail(std::string title, std::string text);
  void show(ChoiceView view);
  bool hasCome() const;

  const std::uint32_t mOwnUser;
  RunLoop& mRunLoop;
  const ChoiceHost mHost;
  const Words mWords;
  const std::function<void()> mShown;
  ChoiceView mView{};
  Target mTarget{};
  std::optional<bool> mIsInFront{};  ///< the own session; absent: the list doesn't say
  std::optional<std::uint32_t> mFront{};
  bool mWasInFront = false;    ///< when the switch was asked for
  bool mIsAwaited = false;     ///< a switch, even one that was said not to have come
  std::shared_ptr<int> mTurn;  ///< what was begun in an earlier one is stale
};

}  // namespace gatehall::menu
