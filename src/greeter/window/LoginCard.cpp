#include "greeter/window/LoginCard.h"

#include <gtkmm.h>
#include <utility>

#include "greeter/window/Accessible.h"
#include "greeter/window/Symbol.h"
#include "people/Names.h"

namespace gatehall::greeter {

namespace {

using Stage = LoginView::Stage;

constexpr int kPortrait = 88;
constexpr int kSmallPortrait = 48;
/// So long whoever still types, or presses twice, can't pass what they haven't seen.
constexpr unsigned kReadingMilliseconds = 500;

void makeText(Gtk::Label& label, const char* cssClass) {
  label.add_css_class(cssClass);
  label.set_wrap();
  label.set_wrap_mode(Pango::WrapMode::WORD_CHAR);
  label.set_justify(Gtk::Justification::CENTER);
  label.set_visible(false);
}

void say(Gtk::Label& label, std::string_view text) {
  label.set_text(std::string(text));
  label.set_visible(!text.empty());
}

/// A prompt as PAM gives it, "Password: ", without what stands before a terminal's cursor.
std::string_view withoutEnd(std::string_view text) {
  const auto last = text.find_last_not_of(": \t\n");
  return text.substr(0, last == std::string_view::npos ? 0 : last + 1);
}

}  // namespace

LoginCard::LoginCard(const Words& words, Deeds deeds)
    : Gtk::Box(Gtk::Orientation::VERTICAL),
      mWords(words),
      mDeeds(std::move(deeds)),
      mPortrait(kPortrait),
      mMessages(Gtk::Orientation::VERTICAL),
      mField(Gtk::Orientation::HORIZONTAL, 8),
      mFoot(Gtk::Orientation::HORIZONTAL) {
  add_css_class("login");
  mPortrait.set_halign(Gtk::Align::CENTER);
  append(mPortrait);
  makeText(mName, "name");
  append(mName);
  makeText(mDetails, "details");
  append(mDetails);
  append(mMessages);
  mPrompt.add_css_class("prompt");
  mPrompt.set_halign(Gtk::Align::START);
  mPrompt.set_xalign(0);
  mPrompt.set_wrap();
  append(mPrompt);
  mEntry.set_input_hints(Gtk::InputHints::NO_SPELLCHECK | Gtk::InputHints::NO_EMOJI |
                         Gtk::InputHints::PRIVATE);
  mEntry.set_hexpand();
  mEntry.signal_activate().connect(sigc::mem_fun(*this, &LoginCard::go));
  mField.append(mEntry);
  mLayout.add_css_class("layout");
  mLayout.set_visible(false);
  mField.append(mLayout);
  mField.set_visible(false);
  append(mField);
  makeText(mCapsLock, "caution");
  mCapsLock.set_text(std::string(mWords.translated("Caps Lock is on")));
  setRole(mCapsLock, Gtk::Accessible::Role::ALERT);
  append(mCapsLock);
  makeText(mHint, "hint");
  append(mHint);
  makeText(mStatus, "status");
  setRole(mStatus, Gtk::Accessible::Role::STATUS);
  append(mStatus);
  auto& buttons = *Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL, 10);
  buttons.add_css_class("buttons");
  mBack.set_label(std::string(mWords.translated("Back")));
  mBack.signal_clicked().connect(mDeeds.back);
  buttons.append(mBack);
  mGo.add_css_class("suggested");
  mGo.set_hexpand();
  mGo.set_halign(Gtk::Align::END);
  mGo.signal_clicked().connect(sigc::mem_fun(*this, &LoginCard::go));
  buttons.append(mGo);
  append(buttons);
  auto& session = *Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL, 8);
  session.append(*Gtk::make_managed<Symbol>(Symbol::Shape::Session, 16));
  mSessionName.set_ellipsize(Pango::EllipsizeMode::END);
  session.append(mSessionName);
  session.append(*Gtk::make_managed<Symbol>(Symbol::Shape::Down, 10));
  mSession.set_child(session);
  mSession.add_css_class("quiet");
  mSession.set_hexpand();
  mSession.set_halign(Gtk::Align::CENTER);
  mSession.signal_clicked().connect(mDeeds.chooseSession);
  mFoot.add_css_class("foot");
  mFoot.append(mSession);
  append(mFoot);
}

LoginCard::~LoginCard() { mReadingEnd.disconnect(); }

void LoginCard::show(const LoginView& view, const std::string& sessionName) {
  const bool isOther = mStage != view.stage || mPromptNumber != view.promptNumber;
  showWhom(view);
  showMessages(view);
  showPrompt(view);
  say(mHint, view.hint.empty() ? "" : withPlace(mWords.translated("Password hint: %s"), view.hint));
  say(mStatus, statusOf(view));
  showButtons(view, sessionName);
  mStage = view.stage;
  showCapsLock();
  if (!isOther) return;
  stopReading();
  if (mStage == Stage::Told) {
    waitForReading();
  } else {
    focus();
  }
}

void LoginCard::waitForReading() {
  mReadingEnd.disconnect();
  mIsReading = true;
  // After keys that are on their way.
  mReadingEnd = Glib::signal_timeout().connect(
      [this] {
        mIsReading = false;
        focus();
        return false;
      },
      kReadingMilliseconds, Glib::PRIORITY_LOW);
}

void LoginCard::stopReading() {
  mReadingEnd.disconnect();
  mIsReading = false;
}

void LoginCard::keyPressed() {
  if (mIsReading) waitForReading();
}

void LoginCard::clear() {
  mEntry.clear();
  mField.set_visible(false);
  mPrompt.set_text("");
  stopReading();
  mStage = Stage::Choosing;
}

void LoginCard::setCapsLock(bool isOn) {
  mHasCapsLock = isOn;
  showCapsLock();
}

void LoginCard::setLayout(const std::string& code, const std::string& name) {
  say(mLayout, code);
  setDescription(mLayout, withPlace(mWords.translated("Keyboard: %s"), name));
}

void LoginCard::setLow(bool isLow) {
  mPortrait.setDiameter(isLow ? kSmallPortrait : kPortrait);
  mName.set_ellipsize(isLow ? Pango::EllipsizeMode::END : Pango::EllipsizeMode::NONE);
  mName.set_lines(isLow ? 2 : -1);
}

void LoginCard::focus() {
  if (mIsReading) return;
  if (mStage == Stage::Asking) {
    mEntry.grab_focus();
  } else if (mGo.get_visible()) {
    mGo.grab_focus();
  } else if (mBack.get_visible()) {
    mBack.grab_focus();
  }
}

void LoginCard::showWhom(const LoginView& view) {
  const auto user = view.whom ? view.whom->user : nullptr;
  mPortrait.set_visible(view.whom.has_value());
  mPortrait.show(user);
  const bool isGuest = view.whom && view.whom->kind == Whom::Kind::Guest;
  const auto name = user        ? shownName(*user)
                    : isGuest   ? std::string(mWords.translated("Guest"))
                    : view.whom ? inOneLine(view.whom->name)
                                : std::string();
  say(mName, name);
  const auto shortName = user ? inOneLine(user->shortName.value_or("")) : "";
  say(mDetails, shortName == name ? "" : shortName);
}

void LoginCard::showMessages(const LoginView& view) {
  // The box is there without a message, too: GTK keeps of one that is hidden how it was measured.
  while (auto* const child = mMessages.get_first_child()) mMessages.remove(*child);
  std::string all;
  for (const auto& message : view.messages) {
    auto& label = *Gtk::make_managed<Gtk::Label>();
    setRole(label, Gtk::Accessible::Role::ALERT);
    makeText(label, "message");
    if (message.kind == LoginMessage::Kind::Error) label.add_css_class("error");
    say(label, message.text);
    mMessages.append(label);
    all.append(all.empty() ? "" : "\n").append(message.text);
  }
  setDescription(mEntry, all);
  setDescription(mGo, all);
  setDescription(mBack, all);
}

void LoginCard::showPrompt(const LoginView& view) {
  const bool isAsking = view.stage == Stage::Asking && view.prompt;
  // While the machine thinks about an answer its field stays, so that nothing jumps.
  const bool stays =
      view.stage == Stage::Waiting && mPromptNumber == view.promptNumber && mField.get_visible();
  if (mPromptNumber != view.promptNumber || !(isAsking || stays)) mEntry.clear();
  mPromptNumber = view.promptNumber;
  if (isAsking) {
    const auto text = withoutEnd(view.prompt->text);
    say(mPrompt, text);
    setLabel(mEntry, text.empty() ? mWords.translated("Answer") : text);
    mIsSecret = view.prompt->isSecret;
    mEntry.setSecret(mIsSecret);
  }
  mPrompt.set_visible((isAsking || stays) && !mPrompt.get_text().empty());
  mField.set_visible(isAsking || stays);
  // The keyboard goes to no button by itself: Enter may be pressed twice.
  auto* const root = get_root();
  if (!isAsking && mEntry.get_sensitive() && root != nullptr) root->unset_focus();
  mEntry.set_sensitive(isAsking);
}

void LoginCard::showButtons(const LoginView& view, const std::string& sessionName) {
  const bool isTold = view.stage == Stage::Told;
  const bool leads = view.stage == Stage::Asking || isTold;
  mGo.set_visible(leads || mField.get_visible());
  mGo.set_sensitive(leads);
  const bool isRefused = isTold && !view.isAdmitted;
  const bool isLast = isTold || !view.prompt || view.prompt->isSecret;
  mGo.set_label(std::string(isRefused      ? mWords.translated("Back")
                            : !isLast      ? mWords.translated("Continue")
                            : view.returns ? mWords.translated("Return to session")
                                           : mWords.translated("Log in")));
  mBack.set_visible(view.stage == Stage::Asking || view.stage == Stage::Waiting ||
                    (isTold && view.isAdmitted) ||
                    (view.stage == Stage::Beginning && view.takesLong));
  mSessionName.set_text(sessionName);
  setLabel(mSession, withPlace(mWords.translated("Session: %s"), sessionName));
  mFoot.set_visible(!sessionName.empty() && !view.returns &&
                    (view.stage == Stage::Asking || view.stage == Stage::Waiting));
}

void LoginCard::showCapsLock() {
  mCapsLock.set_visible(mHasCapsLock && mIsSecret && mStage == Stage::Asking);
}

std::string LoginCard::statusOf(const LoginView& view) const {
  if (view.stage == Stage::Beginning) {
    return std::string(view.takesLong ? mWords.translated("Starting the session takes longer than "
                                                          "usual…")
                       : view.returns ? mWords.translated("Returning to the session…")
                                      : mWords.translated("Starting the session…"));
  }
  if (view.stage != Stage::Waiting) return {};
  return std::string(view.takesLong
                         ? mWords.translated("This takes longer than usual. Press Esc to go back.")
                         : mWords.translated("One moment…"));
}

void LoginCard::go() {
  if (mIsReading) return;
  if (mStage == Stage::Told) return mDeeds.goOn();
  if (mStage != Stage::Asking) return;
  // The second click of two that answered the prompt before is no answer to this one.
  const auto now = g_get_monotonic_time();
  const bool isSoon = now - mAnsweredAt < gint64{kReadingMilliseconds} * 1000;
  if (isSoon && mEntry.typed().empty()) return;
  mAnsweredAt = now;
  const SecretText text(mEntry.typed());
  mEntry.clear();
  mDeeds.answer(text);
}

}  // namespace gatehall::greeter
