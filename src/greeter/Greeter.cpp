#include "greeter/Greeter.h"

#include <algorithm>
#include <csignal>
#include <exception>
#include <gtkmm.h>
#include <system_error>
#include <thread>
#include <utility>

#include "gatehall/base/PlatformException.h"
#include "greeter/window/Theme.h"
#include "linux/files/OwnedFile.h"
#include "people/Names.h"
#include "people/PictureFile.h"
#include "people/Reasons.h"
#include "people/widgets/Pictures.h"

namespace gatehall::greeter {

namespace {

std::string hostName() {
  const Glib::ustring name = Glib::get_host_name();
  return name.substr(0, name.find('.'));
}

Look::Palette paletteOf(const GreeterSettings& settings) {
  switch (settings.theme) {
    case GreeterSettings::Theme::Light:
      return Look::Palette::Light;
    case GreeterSettings::Theme::Dark:
      return Look::Palette::Dark;
    case GreeterSettings::Theme::Auto:
      break;
  }
  return Look::ofMachine();
}

/// Whatever the bus has for the program, first the screen is drawn and keys are heard.
constexpr int kBehindDrawing = GDK_PRIORITY_REDRAW + 10;

constexpr std::size_t kLongestStyle = std::size_t{1} << 20U;
/// Of the background and the logo: enough for a screen of 3840 pixels.
constexpr PictureLimits kMachinesPictures{
    .bytes = std::size_t{32} << 20U, .side = 8192, .sideKept = 3840, .hasSVG = true};

bool isPath(const std::string& text) { return text.starts_with('/'); }

}  // namespace

Greeter::Greeter(DisplayManager& displayManager, const Words& words,
                 const GreeterSettings& settings, const HostOptions& options, Log& log)
    : mDisplayManager(displayManager),
      mWords(words),
      mSettings(settings),
      mOptions(options),
      mLog(log),
      mRunLoop(std::this_thread::get_id(), [this](EventLoop& events) { begin(events); }),
      mDescriptor(mRunLoop.descriptor()),
      mToolkit(words.isRightToLeft),
      mRoll(settings.refusedUsers == GreeterSettings::Refused::Hidden ? Roll::Refused::Hidden
                                                                      : Roll::Refused::Shown),
      mLook(paletteOf(settings), settings.highContrast, settings.largeText),
      mPeople(mRoll, words),
      mLogin(
          displayManager, mRunLoop,
          [this](const Whom& whom, auto handler) {
            mList->confirm({whom.user}, [handler = std::move(handler)](const Person& person) {
              handler(person.admission);
            });
          },
          [this](const std::string& name, auto handler) {
            mAccounts->ask(name, std::move(handler));
          },
          words.catalogue,
          [this] {
            mScreen.setHints(mDisplayManager.hints());
            mScreen.show(mLogin.view());
            const auto visit = mLogin.view().visit;
            if (std::exchange(mVisit, visit) != visit) mList->askAboutAll();
          }),
      mScreen(words, settings, hostName(), mLook, mPeople, deeds()),
      mMonitors((showStyle(), mScreen), std::string(words.translated("Login screen")),
                isPath(settings.background) ? "" : settings.background),
      mLoop(Glib::MainLoop::create()) {
  mPeople.signalOnScreen().connect([this](std::size_t first, std::size_t last) {
    if (mList) mList->onScreen(first, last);
  });
  mScreen.setHints(displayManager.hints());
  mScreen.setSessions(displayManager.sessions());
  mScreen.show(mLogin.view());
  mScreen.begin();
  showKeyboard();
}

Greeter::~Greeter() {
  // They use the loop, which goes before them.
  mSignals.clear();
  mList.reset();
  mAccounts.reset();
  mPower.reset();
  mLoggedIn.reset();
  mKeyboard.reset();
  mLanguages.reset();
}

void Greeter::run() {
  Glib::signal_io().connect(
      [this](Glib::IOCondition) {
        mRunLoop.dispatch();
        return true;
      },
      mDescriptor, Glib::IOCondition::IO_IN, kBehindDrawing);
  if (isPath(mSettings.background)) {
    showPicture(mSettings.background,
                [this](const auto& picture) { mMonitors.setPicture(picture); });
  }
  if (!mSettings.logo.empty()) {
    showPicture(mSettings.logo, [this](const auto& picture) { mScreen.setLogo(picture); });
  }
  mLoop->run();
}

void Greeter::begin(EventLoop& events) {
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    mSignals.push_back(events.whenSignalled(signal, [this] { mLoop->quit(); }));
  }
  mList = std::make_unique<FollowedRoll>(mRunLoop, events, mOptions, mLog, mRoll, mWords.locale,
                                         follower());
  mAccounts = std::make_unique<AccountsService>(mRunLoop, events, mOptions, mLog);
  mPower = std::make_unique<Power>(mRunLoop, events, mOptions, mLog,
                                   [this] { mScreen.setPower(mPower->offered()); });
  mLoggedIn =
      std::make_unique<LoggedIn>(mRunLoop, events, mOptions, mLog, [this] { showOthers(); });
  mKeyboard =
      std::make_unique<Keyboard>(events, nullptr, mWords.locale, [this] { showKeyboard(); });
  mLanguages = std::make_unique<InstalledLanguages>(
      events, [this](const std::vector<Language>& languages) { mScreen.setLanguages(languages); });
}

FollowedRoll::Follower Greeter::follower() {
  return {.list =
              [this](const ListedUsers& users) {
                mUsers = users;
                showOthers();
                mLogin.listIs(users);
              },
          .gone =
              [this](ListFault fault) {
                mScreen.listIsAway(reasonText(fault, mWords));
                mLogin.listIsAway();
              },
          .back =
              [this] {
                if (mRoll.hasList()) mScreen.listIsThere();
              }};
}

ScreenDeeds Greeter::deeds() {
  return {.choose = [this](const Person& person) { choose(person); },
          .logIn = [this](const Whom& whom) { mLogin.choose(whom); },
          .answer = [this](const SecretText& text) { mLogin.answer(text); },
          .goOn = [this] { mLogin.goOn(); },
          .back = [this] { mLogin.back(); },
          .touched = [this] { mLogin.touched(); },
          .setSession = [this](const std::string& key) { mLogin.setSession(key); },
          .setLanguage = [this](const std::string& locale) { mLogin.setLanguage(locale); },
          .setLayout = [this](std::size_t layout) { mKeyboard->use(layout); },
          .askPower =
              [this] {
                mPower->ask();
                mLoggedIn->ask();
                showOthers();  // the hints may be others
              },
          .power =
              [this](PowerAction action) {
                mPower->start(action, [this] {
                  mScreen.complain(
                      std::string(mWords.translated("The computer doesn't allow that now.")));
                });
              }};
}

void Greeter::choose(const Person& person) {
  const auto& user = *person.user;
  mLogin.choose(
      {.kind = Whom::Kind::Listed, .name = user.shortName.value_or(""), .user = person.user});
}

/// The theme's rules, and behind them the machine's own.
void Greeter::showStyle() {
  const auto theme = Gtk::CssProvider::create();
  theme->load_from_data(kTheme);
  Gtk::StyleContext::add_provider_for_display(Gdk::Display::get_default(), theme,
                                              GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
  if (mSettings.style.empty()) return;
  const auto read = [path = mSettings.style, owner = systemOwner(mOptions)] {
    std::string fault;
    const auto text = readOwnedFile(path, {owner}, kLongestStyle, fault);
    if (!text) throw PlatformException(fault.empty() ? "there is no such file" : fault);
    return *text;
  };
  readAside(mSettings.style, read, [this](const std::string& text) {
    const auto own = Gtk::CssProvider::create();
    own->signal_parsing_error().connect(
        [this](const Glib::RefPtr<const Gtk::CssSection>& place, const Glib::Error& fault) {
          mLog.diagnostic(mSettings.style + ":" +
                          std::to_string(place->get_start_location().get_lines() + 1) + ": " +
                          fault.what());
        });
    own->load_from_data(text);
    mLook.setOwnRules(own);
  });
}

void Greeter::showPicture(const std::string& path, ShowPicture show) {
  const auto read = [path] {
    auto picture = readPicture(path, kMachinesPictures);
    if (!picture) {
      throw PlatformException(
          "it is no picture (PNG, JPEG or SVG) of at most 32 MiB and 8192 pixels either way");
    }
    return textureOf(*picture);
  };
  readAside(path, read, std::move(show));
}

/// A file system that doesn't answer keeps neither the first frame waiting nor the end.
template <typename Read, typename Show>
void Greeter::readAside(const std::string& path, Read read, Show show) {
  const auto failed = [this, path](const std::string& why) { mLog.diagnostic(path + ": " + why); };
  const auto inLoop = [](const std::function<void()>& task) {
    Glib::signal_idle().connect_once(task, Glib::PRIORITY_HIGH);
  };
  try {
    std::thread([read, show, failed, inLoop] {
      try {
        inLoop([show, content = read()] { show(content); });
      } catch (const std::exception& failure) {
        inLoop([failed, why = std::string(failure.what())] { failed(why); });
      }
    }).detach();
  } catch (const std::system_error& failure) {
    failed(failure.what());
  }
}

/// Where users are hidden it isn't said, either, who is logged in.
void Greeter::showOthers() {
  const auto& users = mLoggedIn->users();
  Others others{.areKnown = users.has_value()};
  for (const auto uid : users.value_or(LoggedIn::UserIDs())) {
    const auto user = std::ranges::find(mUsers, uid, [](const auto& each) { return each->uid; });
    if (user == mUsers.end() || mDisplayManager.hints().hidesUsers) {
      others.areMore = true;
    } else {
      others.names.push_back(shownName(**user));
    }
  }
  mScreen.setOthers(others);
}

void Greeter::showKeyboard() {
  mScreen.setKeyboard(mKeyboard->layouts(), mKeyboard->current(), mKeyboard->hasCapsLock());
}

}  // namespace gatehall::greeter
