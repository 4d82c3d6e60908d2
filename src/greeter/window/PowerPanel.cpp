#include "greeter/window/PowerPanel.h"

#include <algorithm>
#include <gtkmm.h>
#include <optional>
#include <utility>

#include "greeter/window/Accessible.h"
#include "greeter/window/Symbol.h"

namespace gatehall::greeter {

namespace {

constexpr std::size_t kMostNames = 4;
constexpr int kWidestText = 30;  ///< in characters

std::string_view nameOf(PowerAction action, const Words& words) {
  switch (action) {
    case PowerAction::Suspend:
      return words.translated("Suspend");
    case PowerAction::Hibernate:
      return words.translated("Hibernate");
    case PowerAction::Restart:
      return words.translated("Restart");
    case PowerAction::PowerOff:
      return words.translated("Shut down");
  }
  return "";
}

bool endsSessions(PowerAction action) {
  return action == PowerAction::Restart || action == PowerAction::PowerOff;
}

void wrap(Gtk::Label& label) {
  label.set_wrap();
  label.set_max_width_chars(kWidestText);
  label.set_xalign(0);
}

}  // namespace

PowerPanel::PowerPanel(const Words& words, const std::set<PowerAction>& offered,
                       const Others& others, std::function<void(PowerAction)> chosen)
    : Panel(words.translated("Power")),
      mWords(words),
      mOffered(offered),
      mChosen(std::move(chosen)),
      mWarning(Gtk::Orientation::HORIZONTAL, 10),
      mButtons(Gtk::Orientation::VERTICAL) {
  mWarning.add_css_class("warning");
  auto& sign = *Gtk::make_managed<Symbol>(Symbol::Shape::Warning, 18);
  sign.set_valign(Gtk::Align::START);
  mWarning.append(sign);
  wrap(mLost);
  mLost.set_halign(Gtk::Align::START);
  mLost.set_natural_wrap_mode(Gtk::NaturalWrapMode::NONE);
  mLost.set_hexpand();
  mWarning.append(mLost);
  append(mWarning);
  mQuestion.add_css_class("question");
  wrap(mQuestion);
  append(mQuestion);
  append(mButtons);
  setOthers(others);
  offerAll();
}

void PowerPanel::begin() {
  if (auto* const first = mButtons.get_first_child()) first->grab_focus();
}

void PowerPanel::setOffered(const std::set<PowerAction>& offered) {
  if (offered == mOffered) return;
  mOffered = offered;
  if (mAsked) return;
  const auto focused =
      std::ranges::find_if(mOffers, [](const auto& offer) { return offer.second->has_focus(); });
  const auto action = focused != mOffers.end() ? std::optional(focused->first) : std::nullopt;
  offerAll();
  const auto same = action ? mOffers.find(*action) : mOffers.end();
  if (same != mOffers.end()) {
    same->second->grab_focus();
  } else {
    begin();
  }
}

void PowerPanel::setOthers(const Others& others) {
  mOthers = others;
  mLost.set_text(warning());
  mWarning.set_visible(mayLose());
  if (mAsked && mayLose()) showQuestion();
}

void PowerPanel::showQuestion() {
  const auto text = !mOthers.areKnown ? mWords.translated("Others may be logged in. Go on?")
                    : mAsked == PowerAction::Restart
                        ? mWords.translated("Restart while others are logged in?")
                        : mWords.translated("Shut down while others are logged in?");
  mQuestion.set_text(std::string(text));
  for (auto* const button : mAnswers) setDescription(*button, text);
}

bool PowerPanel::mayLose() const {
  return !mOthers.areKnown || mOthers.areMore || !mOthers.names.empty();
}

std::string PowerPanel::warning() const {
  if (!mOthers.areKnown) {
    return std::string(mWords.translated(
        "It isn't known who is logged in. What others have open is lost by a restart or "
        "shutdown."));
  }
  if (mOthers.names.empty()) {
    return std::string(mWords.translated(
        "Others are logged in. What they have open is lost by a restart or shutdown."));
  }
  std::string names;
  const auto shown = std::min(mOthers.names.size(), kMostNames);
  for (std::size_t index = 0; index < shown; ++index) {
    if (index > 0) names += mWords.translated(", ");
    names += isolated(mOthers.names[index]);
  }
  if (shown < mOthers.names.size()) {
    names += "…";
  } else if (mOthers.areMore) {
    names.append(mWords.translated(", ")).append(mWords.translated("somebody else"));
  }
  return withPlace(mWords.translated("Logged in: %s. What they have open is lost by a restart or "
                                     "shutdown."),
                   names);
}

void PowerPanel::offerAll() {
  mAsked.reset();
  mQuestion.set_visible(false);
  mOffers.clear();
  mAnswers.clear();
  while (auto* const child = mButtons.get_first_child()) mButtons.remove(*child);
  for (const auto action : mOffered) offer(action);
}

void PowerPanel::offer(PowerAction action) {
  auto& button = *Gtk::make_managed<Gtk::Button>();
  button.set_child(
      *Gtk::make_managed<Gtk::Label>(std::string(nameOf(action, mWords)), Gtk::Align::START));
  setLabel(button, nameOf(action, mWords));
  button.add_css_class("row");
  button.signal_clicked().connect([this, action] { choose(action); });
  mButtons.append(button);
  mOffers.emplace(action, &button);
}

void PowerPanel::choose(PowerAction action) {
  if (!mayLose() || !endsSessions(action)) return mChosen(action);
  // The button that was pressed goes, once its signal is over.
  Glib::signal_idle().connect_once(
      sigc::bind(sigc::mem_fun(*this, &PowerPanel::askWhether), action));
}

void PowerPanel::askWhether(PowerAction action) {
  mAsked = action;
  mOffers.clear();
  while (auto* const child = mButtons.get_first_child()) mButtons.remove(*child);
  auto& answers = *Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL, 10);
  answers.set_homogeneous();
  answers.add_css_class("answers");
  auto& no = *Gtk::make_managed<Gtk::Button>(std::string(mWords.translated("Cancel")));
  no.signal_clicked().connect([this] {
    Glib::signal_idle().connect_once(sigc::mem_fun(*this, &PowerPanel::offerAll));
    Glib::signal_idle().connect_once(sigc::mem_fun(*this, &PowerPanel::begin));
  });
  auto& yes = *Gtk::make_managed<Gtk::Button>(std::string(nameOf(action, mWords)));
  yes.add_css_class("destructive");
  yes.signal_clicked().connect([this, action] { mChosen(action); });
  mAnswers = {&no, &yes};
  for (auto* const button : mAnswers) {
    button->set_hexpand();
    answers.append(*button);
  }
  showQuestion();
  mQuestion.set_visible();
  mButtons.append(answers);
  no.grab_focus();
}

}  // namespace gatehall::greeter
