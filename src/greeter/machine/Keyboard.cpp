#include "greeter/machine/Keyboard.h"

#include <X11/XKBlib.h>
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <optional>
#include <string_view>
#include <sys/stat.h>
#include <utility>

#include "linux/files/FileDescriptor.h"

namespace gatehall::greeter {

namespace {

constexpr const char* kList = "/usr/share/X11/xkb/rules/evdev.lst";
constexpr std::size_t kLongestList = 1 << 20;
constexpr long kLongestNames = 1024;  ///< in units of four bytes

struct Closed {
  void operator()(Display* display) const { XCloseDisplay(display); }
};

struct Freed {
  void operator()(unsigned char* data) const { XFree(data); }
};

std::string listOfLayouts() {
  struct stat status {};
  int error = 0;
  const auto file = openRegularFile(kList, Symlinks::Follow, status, error);
  if (error != 0) return {};
  return readWhole(file, kLongestList, error).value_or("");
}

/// Everything that may be another from one event to the next.
struct Shown {
  std::vector<KeyboardLayout> layouts{};
  std::size_t current = 0;
  bool capsLock = false;

  friend bool operator==(const Shown&, const Shown&) = default;
};

}  // namespace

struct Keyboard::State {
  std::function<void()> changed;
  MessageCatalogue words;
  std::string list = listOfLayouts();
  std::unique_ptr<Display, Closed> display;
  int eventBase = 0;
  Atom rulesNames = None;
  Atom capsLock = None;
  Shown shown{};
  EventLoop::SourceHandle source{};  // before the display in going

  State(EventLoop& events, const char* name, const std::string& locale, std::function<void()> then)
      : changed(std::move(then)), words(catalogueFor(locale, "xkeyboard-config")) {
    int major = XkbMajorVersion;
    int minor = XkbMinorVersion;
    int failure = 0;
    int errorBase = 0;
    display.reset(XkbOpenDisplay(name, &eventBase, &errorBase, &major, &minor, &failure));
    if (!display) return;
    rulesNames = XInternAtom(display.get(), "_XKB_RULES_NAMES", False);
    capsLock = XInternAtom(display.get(), "Caps Lock", False);
    constexpr unsigned int heard =
        XkbStateNotifyMask | XkbIndicatorStateNotifyMask | XkbNewKeyboardNotifyMask;
    XkbSelectEvents(display.get(), XkbUseCoreKbd, heard, heard);
    XSelectInput(display.get(), XDefaultRootWindow(display.get()), PropertyChangeMask);
    shown = read();
    source = events.whenReadable(XConnectionNumber(display.get()), [this] { hear(); });
  }

  std::vector<KeyboardLayout> layouts() const {
    Atom type = None;
    int format = 0;
    unsigned long length = 0;
    unsigned long rest = 0;
    unsigned char* raw = nullptr;
    const int result =
        XGetWindowProperty(display.get(), XDefaultRootWindow(display.get()), rulesNames, 0,
                           kLongestNames, False, XA_STRING, &type, &format, &length, &rest, &raw);
    const std::unique_ptr<unsigned char, Freed> data(raw);
    if (result != Success || type != XA_STRING || format != 8 || !data) return {};
    const std::string names(data.get(), data.get() + length);
    return layoutsIn(names, list, words);
  }

  bool isOn(Atom indicator) const {
    Bool on = False;
    return XkbGetNamedIndicator(display.get(), indicator, nullptr, &on, nullptr, nullptr) !=
               False &&
           on != False;
  }

  /// What the server answers; events that come meanwhile are taken, as what they are about has
  /// been read behind them.
  Shown read() const {
    Shown now;
    do {
      takeEvents();
      XkbStateRec state{};
      XkbGetState(display.get(), XkbUseCoreKbd, &state);
      now = {.layouts = layouts(), .current = state.group, .capsLock = isOn(capsLock)};
    } while (XEventsQueued(display.get(), QueuedAfterReading) > 0);
    if (now.current >= now.layouts.size()) now.current = 0;
    return now;
  }

  void takeEvents() const {
    while (XEventsQueued(display.get(), QueuedAfterReading) > 0) {
      XEvent event;
      XNextEvent(display.get(), &event);
    }
  }

  void hear() {
    takeEvents();
    auto now = read();
    if (std::exchange(shown, now) != now) changed();
  }
};

Keyboard::Keyboard(EventLoop& events, const char* display, const std::string& locale,
                   std::function<void()> changed)
    : mState(std::make_unique<State>(events, display, locale, std::move(changed))) {}

Keyboard::~Keyboard() = default;

const std::vector<KeyboardLayout>& Keyboard::layouts() const { return mState->shown.layouts; }

std::size_t Keyboard::current() const { return mState->shown.current; }

void Keyboard::use(std::size_t layout) {
  if (layout >= mState->shown.layouts.size()) return;
  XkbLockGroup(mState->display.get(), XkbUseCoreKbd, static_cast<unsigned int>(layout));
  mState->hear();
}

bool Keyboard::hasCapsLock() const { return mState->shown.capsLock; }

}  // namespace gatehall::greeter
