#include "linux/ldap/client/Servers.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/Ascii.h"
#include "linux/records/NetworkNode.h"

namespace gatehall::ldap {

namespace {

using std::chrono::steady_clock;

/// How long a server that failed stands behind the others.
constexpr std::chrono::seconds kAvoided{30};

/// How long a connection that nobody uses is kept; servers close theirs after minutes.
constexpr std::chrono::seconds kIdle{30};
constexpr std::size_t kMostIdle = 4;

constexpr const char* kWhyAfterTls =
    "; a server does that which wants a certificate of this machine's, or doesn't accept it";

}  // namespace

Servers::Servers(Settings settings, const HostOptions& options)
    : mSettings(std::move(settings)), mRoot(options.root) {
  for (const auto& uri : mSettings.servers) mServers.push_back({uri, {}});
  try {
    mCertificate = readClientCertificate(options, mSettings);
    if (!mSettings.bindName.empty()) {
      mPassword = readPasswordFile(options, mSettings.bindPasswordFile);
    }
  } catch (const DirectoryUnreachable& failure) {
    mCredentialsFault = failure.what();
  }
}

Deadline Servers::answerDeadline() const { return steady_clock::now() + mSettings.timeLimit; }

Limits Servers::limits() const {
  return {mSettings.timeLimit, steady_clock::now() + mSettings.totalTimeLimit};
}

void Servers::run(const std::function<void(Connection&)>& work) {
  auto connection = takeIdle();
  const bool isUsed = connection != nullptr;
  if (!isUsed) connection = connect(Bound::Yes, answerDeadline());
  try {
    work(*connection);
  } catch (const ConnectionLost& lost) {
    // A server may have closed a connection that nobody used, and is no worse for that.
    if (!isUsed || lost.timedOut()) avoid(connection->server());
    if (lost.timedOut()) throw;
    connection = connect(Bound::Yes, answerDeadline());
    work(*connection);
  }
  giveBack(std::move(connection));
}

void Servers::askForNothing(Connection& connection, const Limits& limits) {
  const std::array rootEntry{Search{"", Search::Scope::Base, "(objectClass=*)", {"1.1"}, false}};
  connection.search(rootEntry, limits, [](auto, auto, auto) {});
}

void Servers::probe() {
  const auto deadline = answerDeadline();
  if (auto idle = takeIdle()) {
    try {
      askForNothing(*idle, {mSettings.timeLimit, shareOf(deadline, mSettings.servers.size())});
      return giveBack(std::move(idle));
    } catch (const ConnectionLost& lost) {
      if (lost.timedOut()) avoid(idle->server());
      if (lost.timedOut() && mSettings.servers.size() == 1) throw;
    }
  }
  // A server answers to the bind.
  giveBack(connect(Bound::Yes, deadline));
}

void Servers::runUnbound(const std::function<void(Connection&)>& work) {
  work(*connect(Bound::No, answerDeadline()));
}

Servers::OwnConnection Servers::connectTo(const URI& server, Deadline deadline) {
  const bool isConfigured = std::ranges::any_of(mSettings.servers, [&](const URI& each) {
    return each.scheme == server.scheme && each.port == server.port &&
           ascii::isSame(each.host, server.host);
  });
  deadline = std::min(answerDeadline(), deadline);
  if (isConfigured) return connectTo(server, Bound::Yes, deadline);
  refuseWithoutCredentials();
  return Connection::open(mSettings, server, mRoot, deadline);
}

Servers::OwnConnection Servers::connect(Bound bound, Deadline deadline) {
  const auto [servers, promising] = serversByPromise();
  std::string faults;
  for (std::size_t index = 0; index < servers.size(); ++index) {
    // Those that failed lately have no share as long as others are left.
    const auto last = index < promising ? promising : servers.size();
    try {
      return connectTo(servers[index], bound, shareOf(deadline, last - index));
    } catch (const DirectoryUnreachable& failure) {
      avoid(servers[index]);
      faults += faults.empty() ? failure.what() : std::string("; ") + failure.what();
    }
  }
  throw DirectoryUnreachable(faults);
}

Servers::OwnConnection Servers::connectTo(const URI& server, Bound bound, Deadline deadline) const {
  refuseWithoutCredentials();
  auto connection = Connection::open(mSettings, server, mRoot, deadline, mCertificate.get());
  if (bound == Bound::No) return connection;
  try {
    bindTo(*connection, deadline);
  } catch (const ConnectionLost& lost) {
    const bool isTls = server.scheme == URI::Scheme::Ldaps ||
                       (server.scheme == URI::Scheme::Ldap && mSettings.tls != Settings::Tls::Off);
    // By TLS 1.3 what a server thinks of the other side's certificate comes after all is set up.
    throw DirectoryUnreachable(std::string(lost.what()) +
                               (isTls && !lost.timedOut() ? kWhyAfterTls : ""));
  }
  return connection;
}

void Servers::refuseWithoutCredentials() const {
  if (!mCredentialsFault.empty()) throw DirectoryUnreachable(mCredentialsFault);
}

void Servers::bindTo(Connection& connection, Deadline deadline) const {
  if (mSettings.bindsByCertificate) {
    const auto result = connection.bindByCertificate(deadline);
    if (result.isSuccess()) return;
    throw DirectoryUnreachable(connection.server().text + ": the certificate " +
                               mSettings.certificateFile + " is refused: " + result.text);
  }
  // Without an account too: an anonymous bind tells a server that answers from one that doesn't,
  // while there is still time for the next one.
  const auto answer =
      connection.bind(mSettings.bindName, mPassword ? mPassword->view() : "", deadline);
  if (!answer.result.isSuccess() && mPassword) {
    throw DirectoryUnreachable(connection.server().text + ": " + mSettings.bindName +
                               " is refused: " + answer.result.text);
  }
}

Servers::Ordered Servers::serversByPromise() {
  const std::lock_guard lock(mMutex);
  const auto now = steady_clock::now();
  Ordered ordered;
  for (const bool isAvoided : {false, true}) {
    for (const auto& server : mServers) {
      if ((server.avoidedUntil > now) == isAvoided) ordered.servers.push_back(server.uri);
    }
    if (!isAvoided) ordered.promising = ordered.servers.size();
  }
  return ordered;
}

Servers::OwnConnection Servers::takeIdle() {
  std::vector<Idle> expired;
  const std::lock_guard lock(mMutex);
  const auto now = steady_clock::now();
  while (!mIdle.empty()) {
    auto idle = std::move(mIdle.back());
    mIdle.pop_back();
    if (idle.until > now) return std::move(idle.connection);
    expired.push_back(std::move(idle));
  }
  return nullptr;
}

void Servers::giveBack(OwnConnection connection) {
  const std::lock_guard lock(mMutex);
  if (mIdle.size() < kMostIdle)
    mIdle.push_back({std::move(connection), steady_clock::now() + kIdle});
}

void Servers::avoid(const URI& server) {
  std::vector<Idle> dropped;  // and closed once the lock is gone
  const std::lock_guard lock(mMutex);
  for (auto& each : mServers) {
    if (each.uri.text == server.text) each.avoidedUntil = steady_clock::now() + kAvoided;
  }
  const auto isKept = [&](const Idle& idle) {
    return idle.connection->server().text != server.text;
  };
  const auto first = std::stable_partition(mIdle.begin(), mIdle.end(), isKept);
  dropped.assign(std::move_iterator(first), std::move_iterator(mIdle.end()));
  mIdle.erase(first, mIdle.end());
}

}  // namespace gatehall::ldap
