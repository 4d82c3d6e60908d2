#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "linux/bus/SdBus.h"
#include "service/rights/Callers.h"

namespace gatehall {

enum class Permission {
  Allowed,
  Denied,
  NeedsInteraction,  ///< denied, unless somebody authenticates
};

/// Whether somebody may be asked for a password meanwhile; only ever where the caller's message
/// allows it (sd_bus_message_set_allow_interactive_authorization(3)).
enum class Interaction { No, Yes };

/// How long the bus and polkit have for an answer, and a person for a password, and until a polkit
/// that didn't answer is asked the same again.
struct AuthorityLimits {
  std::chrono::milliseconds answer{5000};
  std::chrono::milliseconds interaction{120000};
  std::chrono::milliseconds rest{10000};
};

/// What the callers on a connection to the system bus may do, by polkit(8), which is asked about
/// the caller's unique name. root may everything. Where polkit isn't there, doesn't answer in time
/// or answers what it can't mean, others may nothing. On the connection's thread, and never waits;
/// everybody is told exactly once, possibly before the function returns, unless the authority goes
/// first.
class Authority {
 public:
  using Told = std::function<void(Permission)>;

  /// Raises PlatformException.
  explicit Authority(sd_bus& bus, AuthorityLimits limits = {});
  ~Authority();
  Authority(const Authority&) = delete;
  Authority& operator=(const Authority&) = delete;

  /// Tells the user id of who sent the call; absent: it can't be known, and nothing may be told.
  /// False, and nothing is told: too many calls of the client wait for that.
  bool identify(sd_bus_message* call, Callers::Told told);

  /// Whether a client that was identified is still there.
  bool isThere(const std::string& client) const { return mCallers.know(client); }

  /// Tells whether who sent the call may do what the action names. What polkit answers without
  /// interaction is kept until the client goes, or polkit does or says that something changed, and
  /// for a while that it didn't answer in time, so that not each call waits for it; not so what
  /// came of an authentication, which is soon over.
  void check(sd_bus_message* call, const char* action, Interaction interaction, const Told& told);

  /// The same of a client by its unique name, without interaction.
  void check(const std::string& client, const char* action, const Told& told);

  /// Calls the handler with the unique name of each client of the bus that goes.
  void whenGone(std::function<void(const std::string& client)> handler);

 private:
  struct Question;
  struct Known {
    Permission permission;
    std::optional<std::chrono::steady_clock::time_point> until;  ///< absent: for good
  };
  /// What polkit answered about one client, by action.
  using Kept = std::map<std::string, Known, std::less<>>;

  static int onAnswer(sd_bus_message* answer, void* self, sd_bus_error* error);
  static int onChange(sd_bus_message* signal, void* self, sd_bus_error* error);
  std::optional<Permission> kept(const std::string& client, const std::string& action) const;
  void keep(const Question& question, Known known);
  void listen(const char* rule, SdBusSlot& slot);
  void check(const std::string& client, const std::string& action, Interaction interaction,
             const Told& told);
  void checkUser(const std::string& client, const std::string& action, Interaction interaction,
                 Told told);
  void ask(Question& question);
  void tell(Question& question, Permission permission);
  void forget(const std::string& client);

  sd_bus& mBus;
  const AuthorityLimits mLimits;
  Callers mCallers;
  std::map<std::string, Kept, std::less<>> mKept;
  std::list<Question> mQuestions;  ///< those that polkit hasn't answered
  SdBusSlot mChanges;
  SdBusSlot mOwner;
};

}  // namespace gatehall
