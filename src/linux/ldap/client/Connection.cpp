#include "linux/ldap/client/Connection.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <limits>
#include <optional>
#include <unordered_map>
#include <utility>

#include "linux/files/FaultLog.h"
#include "linux/ldap/client/Library.h"
#include "linux/records/NetworkNode.h"

namespace gatehall::ldap {

namespace {

using Message = Owned<LDAPMessage>;

/// Searches that a server is sent before it has answered one. Servers close connections that have
/// too many waiting; the usual limit for anonymous ones is 100.
constexpr std::size_t kAtATime = 16;

/// The longest message that a server may send; a group of half a million members fits.
constexpr ber_len_t kLongestMessage = ber_len_t{64} << 20U;

constexpr std::size_t kLongestReferralList = 64;
constexpr std::size_t kLongestDiagnostic = 1024;

std::atomic<std::uint64_t> gSearchesSent{0};

const Library& library() { return Library::get(); }

timeval timeUntil(Deadline deadline) {
  const long left = millisecondsUntil(deadline);
  timeval time{};
  time.tv_sec = left / 1000;
  time.tv_usec = (left % 1000) * 1000;
  return time;
}

berval viewOf(std::string_view text) {
  return {text.size(), const_cast<char*>(text.data())};  // the library only reads it
}

std::string_view textOf(const berval& value) {
  return value.bv_val == nullptr ? std::string_view()
                                 : std::string_view(value.bv_val, value.bv_len);
}

template <class Type>
void setOption(LDAP* session, int option, const Type& value, const URI& server) {
  if (library().set_option(session, option, &value) != LDAP_OPT_SUCCESS) {
    throw DirectoryUnreachable(server.text + ": TLS can't be set up");
  }
}

/// The way through the pages of one search. A server begins each page by finding its place again,
/// so unless a size is set, a page that comes fast is followed by a larger one.
class Pages {
 public:
  explicit Pages(std::optional<std::int32_t> size)
      : mSize(size.value_or(kFirst)), mMayGrow(!size.has_value()) {}

  std::int32_t size() const { return mSize; }
  const std::string& cookie() const { return mCookie; }

  /// A page was asked for; an entry of it has come.
  void start() {
    mStart = std::chrono::steady_clock::now();
    mIsEmpty = true;
  }
  void addEntry() { mIsEmpty = false; }

  /// Takes the end of a page and the place of the next one; whether there is one to ask for. A page
  /// that a server refuses for its size is to be asked for once more.
  bool advance(const Result& result, std::string cookie, std::chrono::milliseconds limit) {
    if (!result.isSuccess()) {
      if (mSize <= kFirst || !mMayGrow || !mIsEmpty) return false;
      mSize = kFirst;
      mMayGrow = false;
      return true;
    }
    mCookie = std::move(cookie);
    const bool isFast = std::chrono::steady_clock::now() - mStart < limit / kFast;
    if (mMayGrow && isFast) mSize = std::min(mSize * kGrowth, kLargest);
    return !mCookie.empty();
  }

 private:
  static constexpr std::int32_t kFirst = 1000;
  static constexpr std::int32_t kGrowth = 4;
  static constexpr std::int32_t kLargest = 16000;
  static constexpr int kFast = 10;  ///< times faster than it has to be

  std::int32_t mSize;
  bool mMayGrow;
  bool mIsEmpty = true;
  std::string mCookie;
  std::chrono::steady_clock::time_point mStart;
};

}  // namespace

struct Connection::Session {
  URI server;
  Owned<LDAP> ldap;
  Transport* transport = nullptr;
  std::optional<std::int32_t> pageSize;

  struct Answer {
    Result result;
    Owned<LDAPControl*> controls;
  };

  [[noreturn]] void lose(const std::string& why, bool timedOut) const {
    throw ConnectionLost(server.text + ": " + why, timedOut);
  }

  std::string lastError() const {
    int code = LDAP_OTHER;
    library().get_option(ldap.get(), LDAP_OPT_RESULT_CODE, &code);
    if (code == LDAP_SERVER_DOWN) return "the connection broke off";
    return library().err2string(code);
  }

  /// The next message to that operation, or to any. A server that always has one more ready comes
  /// to an end, too.
  Message wait(int operation, Deadline deadline) const {
    if (std::chrono::steady_clock::now() >= deadline) lose("no answer in time", true);
    auto time = timeUntil(deadline);
    LDAPMessage* received = nullptr;
    const int type = library().result(ldap.get(), operation, LDAP_MSG_ONE, &time, &received);
    Message message(received);
    if (type == 0) lose("no answer in time", true);
    if (type < 0 || !message) lose(lastError(), false);
    return message;
  }

  Answer parse(LDAPMessage* message) const {
    Answer answer;
    char* text = nullptr;
    char** referrals = nullptr;
    LDAPControl** controls = nullptr;
    const int status = library().parse_result(ldap.get(), message, &answer.result.code, nullptr,
                                              &text, &referrals, &controls, 0);
    const Owned<char> textOwner(text);
    const Owned<char*> referralsOwner(referrals);
    answer.controls.reset(controls);
    if (status != LDAP_SUCCESS) lose("an answer that can't be read", false);
    answer.result.text = library().err2string(answer.result.code);
    if (text != nullptr && *text != '\0') {
      answer.result.text += " (" + printable(text) + ")";
      answer.result.diagnostic = std::string_view(text).substr(0, kLongestDiagnostic);
    }
    addReferrals(answer.result, referrals);
    return answer;
  }

  static void addReferrals(Result& result, char** referrals) {
    for (; referrals != nullptr && *referrals != nullptr; ++referrals) {
      if (result.referrals.size() < kLongestReferralList) result.referrals.emplace_back(*referrals);
    }
  }

  void check(int status) const {
    if (status != LDAP_SUCCESS) lose(lastError(), false);
  }

  Result finish(int status, int operation, Deadline deadline) const {
    check(status);
    return parse(wait(operation, deadline).get()).result;
  }

  void startTls(const Settings& settings, const std::string& root, Deadline deadline) const;
  std::optional<int> send(const Search& search, const Pages* pages) const;
  std::string cookieOf(const Answer& answer) const;
  void decode(LDAPMessage* message, std::size_t index, const Sink& sink,
              std::vector<Attribute>& room) const;
};

void Connection::Session::startTls(const Settings& settings, const std::string& root,
                                   Deadline deadline) const {
  auto* session = ldap.get();
  const int require =
      settings.tls == Settings::Tls::Verified ? LDAP_OPT_X_TLS_HARD : LDAP_OPT_X_TLS_NEVER;
  setOption(session, LDAP_OPT_X_TLS_REQUIRE_CERT, require, server);
  const auto caFile = root + settings.caFile;
  if (library().set_option(session, LDAP_OPT_X_TLS_CACERTFILE, caFile.c_str()) !=
      LDAP_OPT_SUCCESS) {
    throw DirectoryUnreachable(server.text + ": TLS can't be set up");
  }
  setOption(session, LDAP_OPT_X_TLS_PROTOCOL_MIN, LDAP_OPT_X_TLS_PROTOCOL_TLS1_2, server);
  const int isServer = 0;
  if (library().set_option(session, LDAP_OPT_X_TLS_NEWCTX, &isServer) != LDAP_OPT_SUCCESS) {
    throw DirectoryUnreachable(server.text + ": TLS can't be set up; is " + caFile + " readable?");
  }
  if (server.scheme == URI::Scheme::Ldap) {
    int operation = 0;
    const int status = library().start_tls(session, nullptr, nullptr, &operation);
    const auto result = finish(status, operation, deadline);
    if (!result.isSuccess()) throw DirectoryUnreachable(server.text + ": no TLS: " + result.text);
  }
  transport->waitsUntil = deadline;
  if (library().install_tls(session) != LDAP_SUCCESS) {
    // The library has no words for a certificate that it doesn't accept.
    const bool isLate = std::chrono::steady_clock::now() >= deadline;
    throw DirectoryUnreachable(server.text + ": TLS fails: " +
                               (isLate ? "no answer in time"
                                       : "the server breaks off, or its certificate is not "
                                         "accepted: its issuer, name or date"));
  }
  transport->waitsUntil.reset();
}

std::unique_ptr<Connection> Connection::open(const Settings& settings, const URI& server,
                                             const std::string& root, Deadline deadline) {
  auto session = std::make_unique<Session>();
  session->server = server;
  session->pageSize = settings.pageSize;
  auto socket = connectTo(server, root, deadline);
  auto opened = openSession(std::move(socket), server.text.c_str());
  session->ldap = std::move(opened.ldap);
  session->transport = opened.transport;
  if (!session->ldap) throw DirectoryUnreachable(server.text + ": no session");
  auto* ldap = session->ldap.get();
  // Whatever the machine's ldap.conf says.
  const int version = LDAP_VERSION3;
  const int never = LDAP_DEREF_NEVER;
  const int unlimited = LDAP_NO_LIMIT;
  setOption(ldap, LDAP_OPT_PROTOCOL_VERSION, version, server);
  library().set_option(ldap, LDAP_OPT_REFERRALS, LDAP_OPT_OFF);
  setOption(ldap, LDAP_OPT_DEREF, never, server);
  setOption(ldap, LDAP_OPT_SIZELIMIT, unlimited, server);
  setOption(ldap, LDAP_OPT_TIMELIMIT, unlimited, server);
  Sockbuf* buffer = nullptr;
  auto longest = kLongestMessage;
  library().get_option(ldap, LDAP_OPT_SOCKBUF, &buffer);
  library().ber_sockbuf_ctrl(buffer, LBER_SB_OPT_SET_MAX_INCOMING, &longest);
  const bool isPlain = settings.tls == Settings::Tls::Off;
  // A socket of the machine itself needs no encryption.
  if (server.scheme == URI::Scheme::Ldaps || (server.scheme == URI::Scheme::Ldap && !isPlain)) {
    try {
      session->startTls(settings, root, deadline);
    } catch (const ConnectionLost& lost) {
      throw DirectoryUnreachable(lost.what());
    }
  }
  return std::unique_ptr<Connection>(new Connection(std::move(session)));
}

Connection::Connection(std::unique_ptr<Session> session) : mSession(std::move(session)) {}

Connection::~Connection() = default;

const URI& Connection::server() const { return mSession->server; }

std::uint64_t Connection::searchesSent() { return gSearchesSent; }

BindResult Connection::bind(const std::string& name, std::string_view password, Deadline deadline) {
  auto* ldap = mSession->ldap.get();
  std::string oid(LDAP_CONTROL_PASSWORDPOLICYREQUEST);
  LDAPControl policyRequest{};
  policyRequest.ldctl_oid = oid.data();
  std::array<LDAPControl*, 2> controls{&policyRequest, nullptr};
  auto credentials = viewOf(password);
  int operation = 0;
  mSession->check(library().sasl_bind(ldap, name.c_str(), LDAP_SASL_SIMPLE, &credentials,
                                      controls.data(), nullptr, &operation));
  auto answer = mSession->parse(mSession->wait(operation, deadline).get());
  BindResult bound{std::move(answer.result), BindResult::Policy::Nothing};
  auto* control =
      library().control_find(LDAP_CONTROL_PASSWORDPOLICYRESPONSE, answer.controls.get(), nullptr);
  if (control == nullptr) return bound;
  LDAPPasswordPolicyError error = PP_noError;
  ber_int_t expire = 0;
  ber_int_t grace = 0;
  if (library().parse_passwordpolicy_control(ldap, control, &expire, &grace, &error) !=
      LDAP_SUCCESS) {
    return bound;
  }
  if (error == PP_passwordExpired) bound.policy = BindResult::Policy::Expired;
  if (error == PP_accountLocked) bound.policy = BindResult::Policy::Locked;
  if (error == PP_changeAfterReset) bound.policy = BindResult::Policy::ChangeAfterReset;
  return bound;
}

/// The operation; none while a request that was sent before is still on its way out.
std::optional<int> Connection::Session::send(const Search& search, const Pages* pages) const {
  std::vector<char*> attributes;
  attributes.reserve(search.attributes.size() + 1);
  for (const auto& each : search.attributes) attributes.push_back(const_cast<char*>(each.c_str()));
  attributes.push_back(nullptr);
  Owned<LDAPControl> page;
  if (pages != nullptr) {
    auto at = viewOf(pages->cookie());
    LDAPControl* made = nullptr;
    check(library().create_page_control(ldap.get(), pages->size(), &at, 0, &made));
    page.reset(made);
  }
  std::array<LDAPControl*, 2> controls{page.get(), nullptr};
  int operation = 0;
  const int status = library().search_ext(
      ldap.get(), search.base.c_str(),
      search.scope == Search::Scope::Base ? LDAP_SCOPE_BASE : LDAP_SCOPE_SUBTREE,
      search.filter.c_str(), attributes.data(), 0, controls.data(), nullptr, nullptr, LDAP_NO_LIMIT,
      &operation);
  if (status == LDAP_BUSY) return std::nullopt;
  check(status);
  ++gSearchesSent;
  return operation;
}

std::string Connection::Session::cookieOf(const Answer& answer) const {
  auto* control = library().control_find(LDAP_CONTROL_PAGEDRESULTS, answer.controls.get(), nullptr);
  if (control == nullptr) return {};
  ber_int_t estimate = 0;
  berval cookie{};
  const int status = library().parse_pageresponse_control(ldap.get(), control, &estimate, &cookie);
  const Owned<char> owner(cookie.bv_val);
  if (status != LDAP_SUCCESS) lose("a page that can't be read", false);
  return std::string(textOf(cookie));
}

void Connection::Session::decode(LDAPMessage* message, std::size_t index, const Sink& sink,
                                 std::vector<Attribute>& room) const {
  BerElement* opened = nullptr;
  berval name{};
  const int status = library().get_dn_ber(ldap.get(), message, &opened, &name);
  const Owned<BerElement> entry(opened);
  std::size_t count = 0;
  bool isWhole = status == LDAP_SUCCESS;
  while (isWhole) {
    berval attribute{};
    berval* values = nullptr;
    isWhole = library().get_attribute_ber(ldap.get(), message, opened, &attribute, &values) ==
              LDAP_SUCCESS;
    const Owned<berval> owner(values);
    if (!isWhole || attribute.bv_val == nullptr) break;
    if (room.size() == count) room.emplace_back();
    auto& each = room[count++];
    each.name = textOf(attribute);
    each.values.clear();
    for (const auto* value = values; value != nullptr && value->bv_val != nullptr; ++value) {
      each.values.push_back(textOf(*value));
    }
  }
  if (isWhole) {
    sink(index, textOf(name), std::span(room.data(), count));
  } else {
    sink(index, {}, {});
  }
}

std::vector<Result> Connection::search(std::span<const Search> searches, const Limits& limits,
                                       const Sink& sink) {
  std::vector<Result> results(searches.size());
  std::unordered_map<int, std::size_t> running;
  std::vector<Attribute> room;
  std::size_t next = 0;
  std::vector<std::size_t> unsent;  // begun, and waiting for the connection; the last goes first
  bool hasBegun = false;
  std::optional<Pages> pages;  // a server keeps the place of one paged search a connection
  const auto send = [&](std::size_t index) {
    const bool isPaged = searches[index].isPaged;
    const auto operation = mSession->send(searches[index], isPaged ? &*pages : nullptr);
    if (!operation) return false;
    if (isPaged) pages->start();
    mSession->transport->gathers = pages && !pages->cookie().empty();
    running.emplace(*operation, index);
    return true;
  };
  const auto sendMore = [&] {
    while (running.size() < kAtATime) {
      if (unsent.empty()) {
        if (next == searches.size() || (searches[next].isPaged && pages)) return;
        if (searches[next].isPaged) pages.emplace(mSession->pageSize);
        unsent.push_back(next++);
      }
      if (send(unsent.back())) {
        unsent.pop_back();
      } else if (running.empty()) {
        mSession->lose("nothing can be sent", false);
      } else {
        return;  // what is on its way out has to be there before it is answered
      }
    }
  };
  const auto answerDeadline = [&] {
    return std::min(limits.total, std::chrono::steady_clock::now() + limits.answer);
  };

  sendMore();
  auto deadline = answerDeadline();
  while (!running.empty()) {
    Message message;
    try {
      message = mSession->wait(LDAP_RES_ANY, deadline);
    } catch (const ConnectionLost& lost) {
      throw ConnectionLost(lost.what(), lost.timedOut(), hasBegun);
    }
    const auto search = running.find(library().msgid(message.get()));
    if (search == running.end()) continue;
    const auto index = search->second;
    const int type = library().msgtype(message.get());
    if (type == LDAP_RES_SEARCH_ENTRY) {
      hasBegun = true;
      if (searches[index].isPaged) pages->addEntry();
      mSession->decode(message.get(), index, sink, room);
      continue;
    }
    if (type == LDAP_RES_SEARCH_REFERENCE) {
      char** referrals = nullptr;
      library().parse_reference(mSession->ldap.get(), message.get(), &referrals, nullptr, 0);
      const Owned<char*> owner(referrals);
      Session::addReferrals(results[index], referrals);
      continue;
    }
    if (type != LDAP_RES_SEARCH_RESULT) continue;
    auto answer = mSession->parse(message.get());
    running.erase(search);
    auto& result = results[index];
    result.code = answer.result.code;
    result.text = std::move(answer.result.text);
    result.referrals.insert(result.referrals.end(), answer.result.referrals.begin(),
                            answer.result.referrals.end());
    if (searches[index].isPaged) {
      if (pages->advance(result, mSession->cookieOf(answer), limits.answer)) {
        hasBegun = true;
        unsent.push_back(index);
      } else {
        pages.reset();
        mSession->transport->gathers = false;
      }
    }
    sendMore();
    deadline = answerDeadline();
  }
  return results;
}

Result Connection::replace(const std::string& name, const std::string& attribute,
                           std::string_view value, Deadline deadline) {
  auto bytes = viewOf(value);
  std::array<berval*, 2> values{&bytes, nullptr};
  LDAPMod change{};
  change.mod_op = LDAP_MOD_REPLACE | LDAP_MOD_BVALUES;
  change.mod_type = const_cast<char*>(attribute.c_str());
  change.mod_vals.modv_bvals = values.data();
  std::array<LDAPMod*, 2> changes{&change, nullptr};
  int operation = 0;
  const int status = library().modify_ext(mSession->ldap.get(), name.c_str(), changes.data(),
                                          nullptr, nullptr, &operation);
  return mSession->finish(status, operation, deadline);
}

Result Connection::changePassword(const std::string& name, std::string_view oldPassword,
                                  std::string_view newPassword, Deadline deadline) {
  auto user = viewOf(name);
  auto before = viewOf(oldPassword);
  auto after = viewOf(newPassword);
  int operation = 0;
  const int status =
      library().passwd(mSession->ldap.get(), &user, &before, &after, nullptr, nullptr, &operation);
  return mSession->finish(status, operation, deadline);
}

}  // namespace gatehall::ldap
