#pragma once

#include <string>
#include <utility>

#include "linux/files/FileDescriptor.h"
#include "linux/ldap/client/Connection.h"
#include "linux/ldap/client/Library.h"

namespace gatehall::ldap {

/// What the operations of a connection have in common: waiting for the server's messages, and
/// reading what becomes of an operation. Every function may raise ConnectionLost.
class Dialogue {
 public:
  using Message = Owned<LDAPMessage>;

  struct Answer {
    Result result;
    Owned<LDAPControl*> controls;
  };

  Dialogue(URI server, Session session)
      : mServer(std::move(server)), mSession(std::move(session)) {}

  const URI& server() const { return mServer; }
  LDAP* ldap() const { return mSession.ldap.get(); }
  Transport& transport() const { return *mSession.transport; }

  [[noreturn]] void lose(const std::string& why, bool timedOut) const;

  /// For what the library answers to a request.
  void check(int status) const;

  /// The next message to that operation, or to any. A server that always has one more ready comes
  /// to an end, too.
  Message wait(int operation, Deadline deadline) const;

  Answer parse(LDAPMessage* message) const;

  /// The outcome of an operation that is answered by one message.
  Result finish(int status, int operation, Deadline deadline) const;

  static void addReferrals(Result& result, char** referrals);

 private:
  std::string lastError() const;

  const URI mServer;
  const Session mSession;
};

}  // namespace gatehall::ldap
