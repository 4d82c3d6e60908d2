#pragma once

#include <functional>
#include <gtkmm/button.h>
#include <gtkmm/label.h>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "greeter/machine/Power.h"
#include "greeter/window/Panel.h"
#include "people/Words.h"

namespace gatehall::greeter {

/// Those who are logged in, as far as it is known and may be said.
struct Others {
  bool areKnown = false;
  std::vector<std::string> names{};
  bool areMore = false;  ///< of whom no name is to be said
};

/// Offers what can be done with the machine as a whole; whoever would end what others have open is
/// asked once more.
class PowerPanel final : public Panel {
 public:
  PowerPanel(const Words& words, const std::set<PowerAction>& offered, const Others& others,
             std::function<void(PowerAction)> chosen);

  /// News of what is offered, and of who is logged in.
  void setOffered(const std::set<PowerAction>& offered);
  void setOthers(const Others& others);

  void begin() override;

 private:
  void offerAll();
  void offer(PowerAction action);
  bool mayLose() const;
  std::string warning() const;
  void showQuestion();
  void choose(PowerAction action);
  void askWhether(PowerAction action);

  const Words& mWords;
  std::set<PowerAction> mOffered;
  Others mOthers;
  const std::function<void(PowerAction)> mChosen;
  std::optional<PowerAction> mAsked{};  ///< whether that is meant, in place of the offers
  Gtk::Box mWarning;
  Gtk::Label mLost;
  Gtk::Label mQuestion;
  Gtk::Box mButtons;
  std::map<PowerAction, Gtk::Button*> mOffers{};
  std::vector<Gtk::Button*> mAnswers{};  ///< to the question
};

}  // namespace gatehall::greeter
