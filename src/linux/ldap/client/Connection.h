#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "gatehall/base/PlatformException.h"
#include "linux/ldap/client/ServerSocket.h"
#include "linux/ldap/client/Settings.h"

namespace gatehall::ldap {

class Dialogue;

/// A server that broke the connection off, sent what is no LDAP, or did not answer in time. The
/// connection is of no use any more.
class ConnectionLost : public PlatformException {
 public:
  ConnectionLost(const std::string& text, bool timedOut, bool hasBegun = false)
      : PlatformException(text), mTimedOut(timedOut), mHasBegun(hasBegun) {}

  bool timedOut() const { return mTimedOut; }

  /// A part of the answer had arrived.
  bool hasBegun() const { return mHasBegun; }

 private:
  bool mTimedOut;
  bool mHasBegun;
};

/// What a server says to an operation.
struct Result {
  int code = 0;            ///< RFC 4511, appendix A
  std::string text;        ///< the code in words, and what the server adds, for a log
  std::string diagnostic;  ///< what the server adds, as it stands
  /// No more than one beyond so many are kept.
  static constexpr std::size_t kMostReferrals = 64;
  std::vector<std::string> referrals;

  bool isSuccess() const { return code == 0; }
};

struct Search {
  enum class Scope { Base, Subtree };

  std::string base;
  Scope scope = Scope::Subtree;
  std::string filter;
  std::vector<std::string> attributes;
  /// Whether the answer may be long, so that it is fetched in pages.
  bool isPaged = false;
};

/// How long answers may take.
struct Limits {
  std::chrono::milliseconds answer;  ///< one answer of the server, or page of one
  Deadline total;                    ///< all of them
};

/// An attribute as the server sent it.
struct Attribute {
  std::string_view name;
  std::vector<std::string_view> values;
};

/// What a server answers to a password (draft-behera-ldap-password-policy).
struct BindResult {
  enum class Policy { Nothing, Expired, Locked, ChangeAfterReset };

  Result result;
  Policy policy = Policy::Nothing;
};

struct ClientCertificate;

/// A connection to one server, for one thread at a time. Every operation may raise
/// ConnectionLost.
class Connection {
 public:
  /// Connects, and sets TLS up as the settings ask for, with the certificate, if there is one, for
  /// a server that wants to know who asks. Raises DirectoryUnreachable, by the deadline.
  static std::unique_ptr<Connection> open(const Settings& settings, const URI& server,
                                          const std::string& root, Deadline deadline,
                                          const ClientCertificate* certificate = nullptr);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  const URI& server() const;

  /// A simple bind. The password is not empty.
  BindResult bind(const std::string& name, std::string_view password, Deadline deadline);

  /// A bind as whoever the certificate is of, by SASL's EXTERNAL.
  Result bindByCertificate(Deadline deadline);

  /// Called for each entry with the place of its search, its DN and its attributes, which are good
  /// until it returns. An entry that can't be decoded has no attributes and an empty DN.
  using Sink = std::function<void(std::size_t, std::string_view, std::span<const Attribute>)>;

  /// Runs searches, several at a time: a server need not answer one to be sent the next. Answers
  /// what became of each. References to other servers stand with the referrals of a result.
  std::vector<Result> search(std::span<const Search> searches, const Limits& limits,
                             const Sink& sink);

  /// Replaces the values of an attribute by one.
  Result replace(const std::string& name, const std::string& attribute, std::string_view value,
                 Deadline deadline);

  /// RFC 3062, for the account that is bound.
  Result changePassword(const std::string& name, std::string_view oldPassword,
                        std::string_view newPassword, Deadline deadline);

  /// Searches sent over all connections of the process so far; a page counts as one.
  static std::uint64_t searchesSent();

 private:
  Connection(std::unique_ptr<Dialogue> dialogue, std::optional<std::int32_t> pageSize);

  std::unique_ptr<Dialogue> mDialogue;
  std::optional<std::int32_t> mPageSize;
};

}  // namespace gatehall::ldap
