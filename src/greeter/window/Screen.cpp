#include "greeter/window/Screen.h"

#include <algorithm>
#include <gtkmm.h>
#include <utility>

#include "greeter/window/Accessible.h"
#include "greeter/window/LookPanel.h"

namespace gatehall::greeter {

namespace {

using Stage = LoginView::Stage;

constexpr int kCardWidth = 440;
constexpr int kLeastMargin = 16;
/// A lower screen is low for its texts.
constexpr double kUsualHeight = 560;
constexpr int kLogoHeight = 72;

}  // namespace

Screen::Screen(const Words& words, const GreeterSettings& settings, const std::string& hostName,
               Look& look, PeopleView& people, ScreenDeeds deeds)
    : mWords(words),
      mPeople(people),
      mLook(look),
      mDeeds(std::move(deeds)),
      mHasPower(settings.power),
      mTopBar(words, settings.hostName ? hostName : "", settings.clock,
              {.openKeyboard = [this] { openKeyboard(); },
               .openLanguage = [this] { openLanguage(); },
               .openLook =
                   [this] {
                     open(std::make_unique<LookPanel>(mWords, mLook), Gtk::Align::END,
                          Gtk::Align::START);
                   },
               .openPower = [this] { openPower(); }}),
      mContent(Gtk::Orientation::VERTICAL),
      mCards(Gtk::Orientation::VERTICAL),
      mAutologin(words, [this] { mDeeds.touched(); }),
      mChoiceCard(words, people,
                  {.choose = [this](const Person& person) { mDeeds.choose(person); },
                   .chooseAnother = [this] { chooseAnother(); },
                   .chooseGuest = [this] { mDeeds.logIn({.kind = Whom::Kind::Guest}); }}),
      mNameCard(
          words,
          [this](const std::string& name) {
            mDeeds.logIn({.kind = Whom::Kind::Typed, .name = name});
          },
          [this] { backToList(); }, [this] { mDeeds.logIn({.kind = Whom::Kind::Guest}); }),
      mLoginCard(words, {.answer = [this](const SecretText& text) { mDeeds.answer(text); },
                         .goOn = [this] { mDeeds.goOn(); },
                         .back = [this] { mDeeds.back(); },
                         .chooseSession = [this] { openSession(); }}),
      mNamePage(mNameCard),
      mLoginPage(mLoginCard) {
  set_child(mContent);
  fill();
  mScrim.add_css_class("scrim");
  mScrim.set_visible(false);
  const auto click = Gtk::GestureClick::create();
  click->signal_pressed().connect([this](int, double, double) { close(); });
  mScrim.add_controller(click);
  add_overlay(mScrim);
  property_root().signal_changed().connect(sigc::mem_fun(*this, &Screen::listenToKeys));
  const auto presses = Gtk::GestureClick::create();
  presses->set_propagation_phase(Gtk::PropagationPhase::CAPTURE);
  presses->signal_pressed().connect([this](int, double, double) { mDeeds.touched(); });
  add_controller(presses);
  signal_map().connect(sigc::mem_fun(*this, &Screen::fit));
  Gtk::Settings::get_default()->property_gtk_xft_dpi().signal_changed().connect(
      sigc::mem_fun(*this, &Screen::fit));
  showCard();
}

void Screen::fill() {
  mContent.append(mTopBar);
  auto& middle = *Gtk::make_managed<Gtk::Box>(Gtk::Orientation::VERTICAL);
  middle.add_css_class("middle");
  middle.set_vexpand();
  middle.set_valign(Gtk::Align::CENTER);
  middle.set_halign(Gtk::Align::CENTER);
  mLogo.set_child(mLogoPlace);
  mLogo.add_overlay(mLogoPicture);  // which has no size of its own there
  mLogo.set_halign(Gtk::Align::CENTER);
  mLogo.add_css_class("logo");
  mLogo.set_visible(false);
  setRole(mLogoPicture, Gtk::Accessible::Role::PRESENTATION);
  middle.append(mLogo);
  mComplaint.add_css_class("complaint");
  mComplaint.set_wrap();
  mComplaint.set_max_width_chars(1);
  mComplaint.set_visible(false);
  setRole(mComplaint, Gtk::Accessible::Role::ALERT);
  middle.append(mComplaint);
  mCards.add_css_class("card");
  mCards.append(mAutologin);
  mCards.append(mChoiceCard);
  mCards.append(mNamePage);
  mCards.append(mLoginPage);
  middle.append(mCards);
  mContent.append(middle);
}

/// The window's keys: those that go to nothing on the screen, too.
void Screen::listenToKeys() {
  if (mWindow != nullptr) mWindow->remove_controller(mKeys);
  mWindow = dynamic_cast<Gtk::Widget*>(get_root());
  if (mWindow == nullptr) return;
  mKeys = Gtk::EventControllerKey::create();
  mKeys->set_propagation_phase(Gtk::PropagationPhase::CAPTURE);
  mKeys->signal_key_pressed().connect(
      [this](guint key, guint, Gdk::ModifierType) { return keyPressed(key); }, false);
  mWindow->add_controller(mKeys);
}

/// The card is as wide as its texts want it, and the screen lets it.
void Screen::fit() {
  const auto* const window = dynamic_cast<Gtk::Window*>(get_root());
  if (window == nullptr) return;
  int width = 0;
  int height = 0;
  window->get_default_size(width, height);
  const double scale = Look::textScale();
  const int wanted = static_cast<int>(kCardWidth * scale);
  mCards.set_size_request(std::max(0, std::min(wanted, width - 2 * kLeastMargin)), -1);
  const bool isLow = height / scale < kUsualHeight;
  if (isLow) {
    mCards.add_css_class("low");
  } else {
    mCards.remove_css_class("low");
  }
  mNameCard.setLow(isLow);
  mLoginCard.setLow(isLow);
}

void Screen::show(const LoginView& view) {
  const bool wasChoosing = mView.stage == Stage::Choosing;
  const bool isChoosing = view.stage == Stage::Choosing;
  const bool isOtherVisit = mView.visit != view.visit;
  const auto selected = mView.selected;
  mView = view;
  showLanguage();
  mAutologin.show(view);
  if (isOtherVisit) startAnew();
  if (isChoosing && view.selected && view.selected != selected) mPeople.select(view.selected->name);
  if (wasChoosing != isChoosing || isOtherVisit) close();
  if (isChoosing) {
    mLoginCard.clear();
  } else {
    if (wasChoosing) complain("");
    mLoginCard.show(view, sessionName());
  }
  showCard();
  if (wasChoosing && !isChoosing) mLoginCard.focus();
  if (isChoosing && (!wasChoosing || isOtherVisit)) begin();
}

void Screen::startAnew() {
  mChoice = Choice::List;
  complain("");
  mNameCard.clear();
  mPeople.clear();
  showCard();
}

void Screen::setHints(const Hints& hints) {
  const bool hidesOthers = hints.hidesUsers != mHints.hidesUsers;
  mHints = hints;
  if (hidesOthers) mChoice = Choice::List;
  mChoiceCard.offer(hints.allowsManualLogin, hints.hasGuest);
  showCard();
}

void Screen::setSessions(std::vector<SessionKind> sessions) { mSessions = std::move(sessions); }

void Screen::setLanguages(std::vector<Language> languages) {
  mLanguages = std::move(languages);
  showLanguage();
}

/// It is chosen for one login, as that of the session it begins.
void Screen::showLanguage() {
  const bool isUnderWay = mView.stage == Stage::Waiting || mView.stage == Stage::Asking ||
                          (mView.stage == Stage::Told && mView.isAdmitted);
  mTopBar.offerLanguages(mLanguages.size() > 1 && isUnderWay && !mView.returns);
  mTopBar.setLanguage(languageName());
}

void Screen::setKeyboard(const std::vector<KeyboardLayout>& layouts, std::size_t current,
                         bool hasCapsLock) {
  mLayouts = layouts;
  mLayout = current;
  // A single one may be the wrong one: whoever types sees it.
  const auto layout = current < layouts.size() ? layouts[current] : KeyboardLayout();
  mLoginCard.setLayout(layout.code, layout.name);
  const bool areSeveral = layouts.size() > 1;
  mTopBar.setLayout(areSeveral ? layout.code : "", areSeveral ? layout.name : "");
  mLoginCard.setCapsLock(hasCapsLock);
}

void Screen::setPower(const std::set<PowerAction>& offered) {
  mPower = offered;
  if (mPowerPanel != nullptr) mPowerPanel->setOffered(offered);
  mTopBar.offerPower(mHasPower && !offered.empty());
}

void Screen::setOthers(const Others& others) {
  mOthers = others;
  if (mPowerPanel != nullptr) mPowerPanel->setOthers(others);
}

void Screen::listIsThere() {
  const bool wasShown = mHasList && isListShown();
  mWhyNoList.clear();
  const bool hadList = std::exchange(mHasList, true);
  // Nobody's name is taken from under their fingers.
  const bool isTyping = mShown == &mNamePage && mNameCard.isTyping();
  if (isTyping) mChoice = Choice::Name;
  mNameCard.showReason("");
  mPeople.back();
  showCard();
  const bool isOther = wasShown != isListShown() || !hadList;
  if (isOther && !isTyping && mView.stage == Stage::Choosing && !mPanel) begin();
}

void Screen::listIsAway(const std::string& why) {
  const bool wasShown = isListShown();
  mWhyNoList = why;
  mPeople.gone(why);
  mNameCard.showReason(withPlace(
      mWords.translated("The list of users can't be shown: %s. It comes by itself once it "
                        "can."),
      why));
  showCard();
  if (wasShown != isListShown() && mView.stage == Stage::Choosing && !mPanel) begin();
}

void Screen::setLogo(const Glib::RefPtr<Gdk::Texture>& logo) {
  mLogoPicture.set_paintable(logo);
  mLogo.set_visible(logo != nullptr);
  if (!logo) return;
  const double width = logo->get_intrinsic_width();
  const double height = logo->get_intrinsic_height();
  const double scale = std::min({1.0, kLogoHeight / height, kCardWidth / width});
  mLogoPlace.set_size_request(static_cast<int>(width * scale), static_cast<int>(height * scale));
}

void Screen::complain(const std::string& what) {
  mComplaint.set_text(what);
  mComplaint.set_visible(!what.empty());
}

void Screen::begin() {
  if (mPanel) return mPanel->begin();
  if (mView.stage != Stage::Choosing) return mLoginCard.focus();
  if (isListShown()) return mPeople.focusSearch();
  mNameCard.focusName();
}

bool Screen::isListShown() const {
  return mChoice == Choice::List && !mHints.hidesUsers && (mHasList || mWhyNoList.empty());
}

void Screen::showCard() {
  const bool isChoosing = mView.stage == Stage::Choosing;
  const bool hasList = isListShown();
  auto* const shown = !isChoosing ? static_cast<Gtk::Widget*>(&mLoginPage)
                      : hasList   ? static_cast<Gtk::Widget*>(&mChoiceCard)
                                  : static_cast<Gtk::Widget*>(&mNamePage);
  if (mShown == shown) return showNameButtons();
  // What is hidden can't have the keyboard.
  if (auto* const root = get_root()) root->unset_focus();
  for (auto* const card :
       {static_cast<Gtk::Widget*>(&mChoiceCard), static_cast<Gtk::Widget*>(&mNamePage),
        static_cast<Gtk::Widget*>(&mLoginPage)}) {
    card->set_visible(card == shown);
  }
  mShown = shown;
  showNameButtons();
}

void Screen::showNameButtons() {
  mNameCard.setCanGoBack(mChoice == Choice::Name && !mHints.hidesUsers && mHasList);
  mNameCard.offerGuest(mHints.hasGuest && mChoice == Choice::List);
}

void Screen::open(std::unique_ptr<Panel> panel, Gtk::Align horizontal, Gtk::Align vertical) {
  close();
  mDeeds.touched();
  complain("");
  mFocusBefore.keep(*this);
  mPanel = std::move(panel);
  mPanel->set_halign(horizontal);
  mPanel->set_valign(vertical);
  mContent.set_can_focus(false);
  mScrim.set_visible(true);
  if (vertical == Gtk::Align::CENTER) mScrim.add_css_class("dark");
  add_overlay(*mPanel);
  mPanel->begin();
}

void Screen::close() {
  if (!mPanel) return;
  remove_overlay(*mPanel);
  mPowerPanel = nullptr;
  // What closes it may be a button of its own, whose signal has to end first.
  Glib::signal_idle().connect_once([panel = std::shared_ptr<Panel>(std::move(mPanel))] {});
  mScrim.set_visible(false);
  mScrim.remove_css_class("dark");
  mContent.set_can_focus(true);
  if (!mFocusBefore.giveBack()) begin();
  mFocusBefore.forget();
}

/// Whoever has chosen goes on with what they came for.
void Screen::closeChosen() {
  mFocusBefore.forget();
  close();
}

void Screen::openKeyboard() {
  std::vector<gatehall::greeter::Choice> choices;
  choices.reserve(mLayouts.size());
  for (std::size_t index = 0; index < mLayouts.size(); ++index) {
    choices.push_back({std::to_string(index), mLayouts[index].name});
  }
  open(
      std::make_unique<ChoicePanel>(mWords.translated("Keyboard"), choices, std::to_string(mLayout),
                                    [this](const std::string& key) {
                                      closeChosen();
                                      mDeeds.setLayout(std::stoul(key));
                                    }),
      Gtk::Align::END, Gtk::Align::START);
}

void Screen::openLanguage() {
  std::vector<gatehall::greeter::Choice> choices = {
      {"", std::string(mWords.translated("The account's own"))}};
  for (const auto& language : mLanguages) choices.push_back({language.locale, language.name});
  open(std::make_unique<ChoicePanel>(mWords.translated("Language of the session"), choices,
                                     mView.language,
                                     [this](const std::string& key) {
                                       closeChosen();
                                       mDeeds.setLanguage(key);
                                     }),
       Gtk::Align::END, Gtk::Align::START);
}

void Screen::openPower() {
  mDeeds.askPower();
  auto panel = std::make_unique<PowerPanel>(mWords, mPower, mOthers, [this](PowerAction action) {
    close();
    mDeeds.power(action);
  });
  auto* const shown = panel.get();
  open(std::move(panel), Gtk::Align::END, Gtk::Align::START);
  mPowerPanel = shown;
}

void Screen::openSession() {
  std::vector<gatehall::greeter::Choice> choices;
  choices.reserve(mSessions.size());
  for (const auto& kind : mSessions) choices.push_back({kind.key, kind.name});
  open(std::make_unique<ChoicePanel>(mWords.translated("Session"), choices, mView.session,
                                     [this](const std::string& key) {
                                       closeChosen();
                                       mDeeds.setSession(key);
                                     }),
       Gtk::Align::CENTER, Gtk::Align::CENTER);
}

void Screen::chooseAnother() {
  mDeeds.touched();
  mChoice = Choice::Name;
  mNameCard.clear();
  showCard();
  mNameCard.focusName();
}

void Screen::backToList() {
  mChoice = Choice::List;
  showCard();
  begin();
}

bool Screen::keyPressed(guint key) {
  mDeeds.touched();
  mLoginCard.keyPressed();
  if (key != GDK_KEY_Escape) return false;
  if (mPanel) {
    close();
  } else if (mView.stage != Stage::Choosing) {
    mDeeds.back();
  } else if (mChoice == Choice::Name) {
    backToList();
  } else {
    return false;
  }
  return true;
}

std::string Screen::sessionName() const {
  if (mSessions.size() < 2) return {};
  const auto kind = std::find_if(mSessions.begin(), mSessions.end(),
                                 [this](const auto& each) { return each.key == mView.session; });
  return kind == mSessions.end() ? std::string(mWords.translated("Standard")) : kind->name;
}

std::string Screen::languageName() const {
  const auto language =
      std::find_if(mLanguages.begin(), mLanguages.end(),
                   [this](const auto& each) { return each.locale == mView.language; });
  return language == mLanguages.end() ? "" : language->name;
}

}  // namespace gatehall::greeter
