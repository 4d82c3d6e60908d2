#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/linux/HostOptions.h"
#include "platform/linux/LdapConnection.h"
#include "platform/linux/LdapSettings.h"
#include "platform/linux/SecretText.h"

namespace gatehall {

/// The servers of one directory, which all hold the same, and the connections to them. From any
/// thread.
class LdapServers {
 public:
  /// Reads the account's password file, which nothing does later.
  LdapServers(LdapSettings settings, const HostOptions& options);

  const LdapSettings& settings() const { return mSettings; }

  /// Runs the work on a connection that is bound as the directory's account, of the first server
  /// that answers; once more, on another connection, when the first one breaks off. Raises
  /// DirectoryUnreachable when no server answers in time, and LdapConnectionLost.
  void run(const std::function<void(LdapConnection&)>& work);

  /// Asks a server for a sign of life. Raises as run does.
  void probe();

  /// A question to which every answer is as good as any other. Raises LdapConnectionLost.
  static void askForNothing(LdapConnection& connection, const LdapLimits& limits);

  /// The same as run on a connection of its own that nobody is bound on.
  void runUnbound(const std::function<void(LdapConnection&)>& work);

  /// A connection to a server that another one named, bound as the directory's account, made in the
  /// time of one answer and by the deadline. Raises DirectoryUnreachable.
  std::unique_ptr<LdapConnection> connectTo(const LdapURI& server, Deadline deadline);

  /// Moments from now by which an answer has to be there.
  Deadline answerDeadline() const;
  LdapLimits limits() const;

 private:
  enum class Bound { No, Yes };
  using Connection = std::unique_ptr<LdapConnection>;

  struct Server {
    LdapURI uri;
    Deadline avoidedUntil;
  };
  struct Idle {
    Connection connection;
    Deadline until;
  };

  Connection connect(Bound bound, Deadline deadline);
  Connection connectTo(const LdapURI& server, Bound bound, Deadline deadline) const;
  void bindTo(LdapConnection& connection, Deadline deadline) const;
  /// The servers in the order to try them: behind the promising ones those that failed lately.
  struct Ordered {
    std::vector<LdapURI> servers;
    std::size_t promising = 0;
  };
  Ordered serversByPromise();
  Connection takeIdle();
  void giveBack(Connection connection);
  void avoid(const LdapURI& server);

  const LdapSettings mSettings;
  const std::string mRoot;
  std::unique_ptr<SecretText> mPassword;
  std::string mPasswordFault;  ///< why there is no password, when there ought to be one
  std::mutex mMutex;
  std::vector<Server> mServers;
  std::vector<Idle> mIdle;
};

}  // namespace gatehall
