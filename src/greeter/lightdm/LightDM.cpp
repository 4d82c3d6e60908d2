#include "greeter/lightdm/LightDM.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <glib-unix.h>
#include <lightdm.h>
#include <optional>
#include <string_view>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace gatehall::greeter {

namespace {

struct Freed {
  void operator()(GError* error) const { g_error_free(error); }
};
using Failure = std::unique_ptr<GError, Freed>;

std::string textOf(const char* text) { return text == nullptr ? std::string() : text; }

/// Longer texts nobody reads; in characters.
constexpr std::size_t kLongestText = 1000;

/// What a module of PAM's says, as it can be shown and read aloud: in UTF-8, and without control
/// characters but for the ends of lines.
std::string readable(const char* text) {
  const std::unique_ptr<char, decltype(&g_free)> valid(
      g_utf8_make_valid(text == nullptr ? "" : text, -1), g_free);
  std::string result;
  const auto* place = valid.get();
  for (std::size_t count = 0; *place != '\0' && count < kLongestText; ++count) {
    const auto* const next = g_utf8_next_char(place);
    if (*place == '\t') {
      result += ' ';
    } else if (*place == '\n' || g_unichar_iscntrl(g_utf8_get_char(place)) == FALSE) {
      result.append(place, next);
    }
    place = next;
  }
  return result;
}

std::optional<std::string> nameIn(const char* text) {
  if (text == nullptr || *text == '\0') return std::nullopt;
  return text;
}

/// The descriptor by which LightDM speaks, as it says in the environment; -1: it doesn't.
int descriptorFromLightDM() {
  const char* text = std::getenv("LIGHTDM_FROM_SERVER_FD");
  if (text == nullptr) return -1;
  const std::string_view number(text);
  int descriptor = -1;
  const auto* end = number.data() + number.size();
  const auto read = std::from_chars(number.data(), end, descriptor);
  return read.ec == std::errc() && read.ptr == end && descriptor >= 0 ? descriptor : -1;
}

/// Puts a pipe in which nothing ever comes in the place of one that has ended, so that the library,
/// which doesn't look for the end, isn't woken by it without a pause.
void silence(int descriptor) {
  // The end to write to stays open for as long as the process lives.
  static const std::array<int, 2> silent = [] {
    std::array<int, 2> ends{-1, -1};
    return pipe2(ends.data(), O_CLOEXEC) == 0 ? ends : std::array<int, 2>{-1, -1};
  }();
  if (silent[0] != -1) dup3(silent[0], descriptor, O_CLOEXEC);
}

}  // namespace

struct LightDM::State {
  Log& log;
  LoginListener listener{};
  Hints hints{};
  LightDMGreeter* greeter = lightdm_greeter_new();
  bool isConnecting = true;
  bool isConnected = false;
  bool isHeard = false;  ///< what comes of the login that was begun last; not once it is cancelled
  bool isGone = false;
  int starts = 0;  ///< of sessions that LightDM didn't answer
  guint endWatch = 0;
  guint news = 0;  ///< that LightDM is gone, which is told from the loop

  explicit State(Log& toLog) : log(toLog) {
    // No exception of theirs passes through the library, which isn't made for it.
    const auto connect = [this](const char* signal, GCallback handler) {
      g_signal_connect(greeter, signal, handler, this);
    };
    connect(LIGHTDM_GREETER_SIGNAL_SHOW_MESSAGE, G_CALLBACK(onMessage));
    connect(LIGHTDM_GREETER_SIGNAL_SHOW_PROMPT, G_CALLBACK(onPrompt));
    connect(LIGHTDM_GREETER_SIGNAL_AUTHENTICATION_COMPLETE, G_CALLBACK(onEnd));
    connect(LIGHTDM_GREETER_SIGNAL_IDLE, G_CALLBACK(onIdle));
    connect(LIGHTDM_GREETER_SIGNAL_RESET, G_CALLBACK(onReset));
  }
  ~State() {
    if (endWatch != 0) g_source_remove(endWatch);
    if (news != 0) g_source_remove(news);
    g_signal_handlers_disconnect_by_data(greeter, this);
    g_object_unref(greeter);
  }
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  static State& of(gpointer self) { return *static_cast<State*>(self); }

  static void onMessage(LightDMGreeter* /*greeter*/, const gchar* text, LightDMMessageType type,
                        gpointer self) noexcept {
    const auto& state = of(self);
    if (!state.isHeard) return;
    state.listener.said({type == LIGHTDM_MESSAGE_TYPE_ERROR ? LoginMessage::Kind::Error
                                                            : LoginMessage::Kind::Information,
                         readable(text)});
  }

  static void onPrompt(LightDMGreeter* /*greeter*/, const gchar* text, LightDMPromptType type,
                       gpointer self) noexcept {
    const auto& state = of(self);
    if (!state.isHeard) return;
    state.listener.asked({readable(text), type != LIGHTDM_PROMPT_TYPE_QUESTION});
  }

  static void onEnd(LightDMGreeter* greeter, gpointer self) noexcept {
    auto& state = of(self);
    if (!std::exchange(state.isHeard, false)) return;
    state.listener.ended(lightdm_greeter_get_is_authenticated(greeter) != FALSE);
  }

  static void onIdle(LightDMGreeter* /*greeter*/, gpointer self) noexcept {
    const auto& state = of(self);
    if (state.listener.left) state.listener.left();
  }

  static void onReset(LightDMGreeter* /*greeter*/, gpointer self) noexcept {
    auto& state = of(self);
    state.readHints();
    if (state.listener.reset) state.listener.reset();
  }

  static void onConnected(GObject* /*source*/, GAsyncResult* result, gpointer self) noexcept {
    auto& state = of(self);
    GError* raw = nullptr;
    state.isConnected =
        lightdm_greeter_connect_to_daemon_finish(state.greeter, result, &raw) != FALSE;
    const Failure failure(raw);
    state.isConnecting = false;
    if (!state.isConnected) state.lose(failure ? failure->message : "it refuses the connection");
  }

  static void onSession(GObject* /*source*/, GAsyncResult* result, gpointer self) noexcept {
    auto& state = of(self);
    GError* raw = nullptr;
    const bool hasBegun =
        lightdm_greeter_start_session_finish(state.greeter, result, &raw) != FALSE;
    const Failure failure(raw);
    if (failure) state.log.error("LightDM begins no session: " + textOf(failure->message));
    // It answers in order; only the last one may still be waited for.
    if (--state.starts == 0) state.listener.sessionBegun(hasBegun);
  }

  static gboolean onLate(gpointer self) noexcept {
    of(self).isConnecting = false;
    return G_SOURCE_CONTINUE;
  }

  /// After everything that LightDM said: the library's own watch goes before this one.
  static gboolean onConnectionEnd(gint descriptor, GIOCondition /*condition*/,
                                  gpointer self) noexcept {
    auto& state = of(self);
    state.endWatch = 0;
    silence(descriptor);
    state.lose("it ended the connection");
    return G_SOURCE_REMOVE;
  }

  static gboolean onGone(gpointer self) noexcept {
    auto& state = of(self);
    state.news = 0;
    if (state.listener.gone) state.listener.gone();
    return G_SOURCE_REMOVE;
  }

  void connect(std::chrono::milliseconds limit) {
    // Else what is written to a LightDM that is gone would end this process.
    std::signal(SIGPIPE, SIG_IGN);
    lightdm_greeter_set_resettable(greeter, TRUE);
    const int descriptor = descriptorFromLightDM();
    if (descriptor == -1 || fcntl(descriptor, F_GETFD) == -1) {
      lose("it didn't start this program");
      return;
    }
    endWatch = g_unix_fd_add_full(G_PRIORITY_DEFAULT_IDLE, descriptor,
                                  static_cast<GIOCondition>(G_IO_HUP | G_IO_ERR), onConnectionEnd,
                                  this, nullptr);
    lightdm_greeter_connect_to_daemon(greeter, nullptr, onConnected, this);
    const auto late = g_timeout_add(static_cast<guint>(limit.count()), onLate, this);
    while (isConnecting && !isGone) g_main_context_iteration(nullptr, TRUE);
    g_source_remove(late);
    if (isConnected) {
      // Login counts down itself; the library's own timer would outlive what it belongs to.
      lightdm_greeter_cancel_autologin(greeter);
      readHints();
    } else {
      lose("it doesn't answer");
    }
  }

  void readHints() {
    hints = {.selectUser = nameIn(lightdm_greeter_get_select_user_hint(greeter)),
             .selectsGuest = lightdm_greeter_get_select_guest_hint(greeter) != FALSE,
             .isLock = lightdm_greeter_get_lock_hint(greeter) != FALSE,
             .hidesUsers = lightdm_greeter_get_hide_users_hint(greeter) != FALSE,
             .allowsManualLogin = lightdm_greeter_get_show_manual_login_hint(greeter) != FALSE,
             .hasGuest = lightdm_greeter_get_has_guest_account_hint(greeter) != FALSE,
             .autologinUser = nameIn(lightdm_greeter_get_autologin_user_hint(greeter)),
             .autologinGuest = lightdm_greeter_get_autologin_guest_hint(greeter) != FALSE,
             .autologinDelay = std::chrono::seconds(
                 std::max(0, lightdm_greeter_get_autologin_timeout_hint(greeter))),
             .autologinSession = textOf(lightdm_greeter_get_autologin_session_hint(greeter)),
             .defaultSession = textOf(lightdm_greeter_get_default_session_hint(greeter))};
  }

  /// Says once, from the loop, that LightDM is gone.
  void lose(const std::string& why) {
    if (std::exchange(isGone, true)) return;
    log.error("LightDM is gone: " + why);
    isHeard = false;
    news = g_idle_add(onGone, this);
  }

  /// What the library is asked for, which may find that LightDM is gone.
  template <class Function, class... Arguments>
  void ask(Function function, Arguments... arguments) {
    if (isGone) return;
    GError* raw = nullptr;
    const bool isDone = function(greeter, arguments..., &raw) != FALSE;
    const Failure failure(raw);
    if (!isDone && failure) lose(failure->message);
  }

  template <class Function, class... Arguments>
  void begin(Function function, Arguments... arguments) {
    isHeard = !isGone;
    ask(function, arguments...);
  }
};

LightDM::LightDM(Log& log, std::chrono::milliseconds limit) : mState(std::make_unique<State>(log)) {
  mState->connect(limit);
}

LightDM::~LightDM() = default;

void LightDM::listen(LoginListener listener) {
  mState->listener = std::move(listener);
  // Whoever begins to listen later is told, too.
  if (mState->isGone && mState->news == 0) mState->news = g_idle_add(State::onGone, mState.get());
}

const Hints& LightDM::hints() const { return mState->hints; }

std::vector<SessionKind> LightDM::sessions() const {
  std::vector<SessionKind> result;
  for (const auto* each = lightdm_get_sessions(); each != nullptr; each = each->next) {
    auto* session = static_cast<LightDMSession*>(each->data);
    result.push_back(
        {textOf(lightdm_session_get_key(session)), textOf(lightdm_session_get_name(session))});
  }
  return result;
}

void LightDM::authenticate(const std::string& name) {
  mState->begin(lightdm_greeter_authenticate, name.c_str());
}

void LightDM::authenticateAsGuest() { mState->begin(lightdm_greeter_authenticate_as_guest); }

void LightDM::authenticateForAutologin() { mState->begin(lightdm_greeter_authenticate_autologin); }

void LightDM::answer(const SecretText& text) { mState->ask(lightdm_greeter_respond, text.c_str()); }

void LightDM::cancel() {
  mState->isHeard = false;
  mState->ask(lightdm_greeter_cancel_authentication);
}

void LightDM::setLanguage(const std::string& locale) {
  mState->ask(lightdm_greeter_set_language, locale.c_str());
}

void LightDM::beginSession(const std::string& key) {
  if (mState->isGone) return;
  ++mState->starts;
  lightdm_greeter_start_session(mState->greeter, key.empty() ? nullptr : key.c_str(), nullptr,
                                State::onSession, mState.get());
}

}  // namespace gatehall::greeter
