#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "linux/files/FileState.h"
#include "portable/NameBasedUUID.h"

namespace gatehall {

/// An account as a network directory has it.
struct NetworkAccount {
  std::string_view nodeName;
  std::span<const std::string_view> names;  ///< the login name first
  std::optional<std::uint32_t> userID;
  std::optional<UUIDBytes> guid;
};

/// This machine's own accounts, usable or not, as those of network directories are held against
/// them: no name, user id or GUID of one is ever a network account's. From any thread.
class LocalAccounts {
 public:
  enum class Likeness {
    None,
    Copy,  ///< a local account is the copy of that one
    Twin,  ///< it has what is a local account's
  };

  /// The accounts in one state of their files. It never changes.
  class Snapshot {
   public:
    virtual ~Snapshot() = default;

    /// What the account is to the local ones; of a twin, why, in words that follow "it".
    virtual Likeness likenessTo(const NetworkAccount& account, std::string& why) const = 0;

    /// Whether one and the same of them has that name and that user id.
    virtual bool isAccount(std::string_view name, std::uint32_t userID) const = 0;

    /// Whether the group file makes an account with that login name an administrator. As a further
    /// name of a network account it would do so too, and has to be left out. Raises
    /// PlatformException when it can't be told.
    virtual bool isNameOfAdministrator(std::string_view name) const = 0;
  };

  /// Tells that the files have changed.
  struct State {
    std::optional<FileState> lines;
    std::optional<FileState> records;

    friend bool operator==(const State&, const State&) = default;
  };

  virtual ~LocalAccounts() = default;

  /// The accounts as they are now. Raises PlatformException when that can't be told.
  virtual std::shared_ptr<const Snapshot> current() = 0;

  /// Raises nothing.
  virtual State state() const = 0;
};

}  // namespace gatehall
