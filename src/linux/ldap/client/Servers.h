#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "linux/files/HostOptions.h"
#include "linux/files/SecretText.h"
#include "linux/ldap/client/Connection.h"
#include "linux/ldap/client/Credentials.h"
#include "linux/ldap/client/Settings.h"

namespace gatehall::ldap {

/// The servers of one directory, which all hold the same, and the connections to them. From any
/// thread.
class Servers {
 public:
  /// Reads the account's password file, or its certificate, which nothing does later.
  Servers(Settings settings, const HostOptions& options);

  const Settings& settings() const { return mSettings; }

  /// Runs the work on a connection that is bound as the directory's account, of the first server
  /// that answers; once more, on another connection, when the first one breaks off. Raises
  /// DirectoryUnreachable when no server answers in time, and ConnectionLost.
  void run(const std::function<void(Connection&)>& work);

  /// Asks a server for a sign of life. Raises as run does.
  void probe();

  /// A question to which every answer is as good as any other. Raises ConnectionLost.
  static void askForNothing(Connection& connection, const Limits& limits);

  /// The same as run on a connection of its own that nobody is bound on.
  void runUnbound(const std::function<void(Connection&)>& work);

  /// A connection to a server that another one named, made in the time of one answer and by the
  /// deadline. It is bound as the directory's account where the settings name the server
  /// themselves, else nobody is: the account's password and this machine's certificate go nowhere
  /// that a server says. Raises DirectoryUnreachable.
  std::unique_ptr<Connection> connectTo(const URI& server, Deadline deadline);

  /// Moments from now by which an answer has to be there.
  Deadline answerDeadline() const;
  Limits limits() const;

 private:
  enum class Bound { No, Yes };
  using OwnConnection = std::unique_ptr<Connection>;

  struct Server {
    URI uri;
    Deadline avoidedUntil;
  };
  struct Idle {
    OwnConnection connection;
    Deadline until;
  };

  OwnConnection connect(Bound bound, Deadline deadline);
  OwnConnection connectTo(const URI& server, Bound bound, Deadline deadline) const;
  void refuseWithoutCredentials() const;
  void bindTo(Connection& connection, Deadline deadline) const;
  /// The servers in the order to try them: behind the promising ones those that failed lately.
  struct Ordered {
    std::vector<URI> servers;
    std::size_t promising = 0;
  };
  Ordered serversByPromise();
  OwnConnection takeIdle();
  void giveBack(OwnConnection connection);
  void avoid(const URI& server);

  const Settings mSettings;
  const std::string mRoot;
  std::unique_ptr<SecretText> mPassword;
  std::unique_ptr<ClientCertificate> mCertificate;
  std::string mCredentialsFault;  ///< why they aren't there, when they ought to be
  std::mutex mMutex;
  std::vector<Server> mServers;
  std::vector<Idle> mIdle;
};

}  // namespace gatehall::ldap
