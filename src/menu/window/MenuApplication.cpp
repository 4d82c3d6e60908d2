#include "menu/window/MenuApplication.h"

#include <string_view>
#include <thread>
#include <unistd.h>
#include <utility>

#include "menu/window/Sheet.h"
#include "menu/window/SwitchProgram.h"
#include "people/Reasons.h"

namespace gatehall::menu {

namespace {

/// A click on the panel's button takes the window's focus, which closes it, and only then asks for
/// --toggle: so long it counts as the one that closed it.
constexpr unsigned kToggledAwayMs = 1000;

/// Whatever the bus has for the program, first the window is drawn and keys are heard.
constexpr int kBehindDrawing = GDK_PRIORITY_REDRAW + 10;

}  // namespace

MenuApplication::MenuApplication(HostOptions options, Log& log, Words words, std::string program)
    : Gtk::Application("com.orvane.Gatehall.Menu", Gio::Application::Flags::HANDLES_COMMAND_LINE),
      mOptions(std::move(options)),
      mLog(log),
      mWords(std::move(words)),
      mProgram(std::move(program)),
      mRunLoop(std::this_thread::get_id(), [this](EventLoop& events) {
        mList = std::make_unique<FollowedRoll>(mRunLoop, events, mOptions, mLog, mRoll,
                                               mWords.locale, follower());
      }) {}

MenuApplication::~MenuApplication() { mEvents.disconnect(); }

void MenuApplication::on_startup() {
  Gtk::Application::on_startup();
  mLook = std::make_unique<Look>();
  mStyle = Gtk::CssProvider::create();
  mStyle->load_from_data(kSheet);
  Gtk::StyleContext::add_provider_for_display(Gdk::Display::get_default(), mStyle,
                                              GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
  const auto direction = mWords.isRightToLeft ? Gtk::TextDirection::RTL : Gtk::TextDirection::LTR;
  Gtk::Widget::set_default_direction(direction);

  mWindow = std::make_unique<MenuWindow>(mRoll, mWords);
  add_window(*mWindow);
  mChoice = std::make_unique<Choice>(
      getuid(), mRunLoop,
      ChoiceHost{[this](const Person& person, const auto& answer) {
                   mList->confirm(person,
                                  [answer](const Person& asked) { answer(asked.admission); });
                 },
                 [this](const std::vector<std::string>& words, const auto& ended) {
                   runSwitch(mProgram, words, ended);
                 }},
      mWords, [this] { show(mChoice->view()); });
  mWindow->people().signalChosen().connect(
      [this](const Person& person) { mChoice->choose(person); });
  mWindow->people().signalOnScreen().connect(
      [this](std::size_t first, std::size_t last) { mList->onScreen(first, last); });
  mWindow->signalLoginScreen().connect([this] { mChoice->chooseLoginScreen(); });
  mWindow->signalBack().connect([this] { mChoice->back(); });
  mWindow->signalLeft().connect([this] { leave(); });
  drive();
}

int MenuApplication::on_command_line(const Glib::RefPtr<Gio::ApplicationCommandLine>& line) {
  int count = 0;
  char** words = line->get_arguments(count);
  const bool toggles = count > 1 && std::string_view(words[1]) == "--toggle";
  g_strfreev(words);
  if (!toggles || !(mWindow->get_visible() || mEnd.connected())) {
    open();
  } else if (mWindow->get_visible()) {
    quit();
  }
  return 0;
}

FollowedRoll::Follower MenuApplication::follower() {
  return {.list = [this](const ListedUsers& users) { mChoice->know(users); },
          .gone = [this](ListFault fault) { mWindow->people().gone(reasonText(fault, mWords)); },
          .back =
              [this] {
                mWindow->people().back();
                // Before it there was nothing to take it.
                if (!std::exchange(mHasList, true)) mWindow->people().focusSearch();
              }};
}

/// From GTK's own loop.
void MenuApplication::drive() {
  mEvents = Glib::signal_io().connect(
      [this](Glib::IOCondition) {
        mRunLoop.dispatch();
        return true;
      },
      mRunLoop.descriptor(), Glib::IOCondition::IO_IN, kBehindDrawing);
}

void MenuApplication::open() {
  mEnd.disconnect();
  if (!mWindow->get_visible()) {
    mChoice->back();
    mWindow->reset();
  }
  mWindow->present();
}

void MenuApplication::leave() {
  mWindow->set_visible(false);
  mChoice->back();
  mEnd = Glib::signal_timeout().connect(
      [this] {
        quit();
        return false;
      },
      kToggledAwayMs);
}

void MenuApplication::show(const ChoiceView& view) {
  if (view.stage == ChoiceView::Stage::Over) {
    quit();
  } else {
    mWindow->tell(view);
  }
}

}  // namespace gatehall::menu
