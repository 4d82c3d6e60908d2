#include "ctl/check/AccountFindings.h"

#include <cerrno>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string.h>
#include <string>
#include <string_view>
#include <utility>

#include "ctl/check/SilentLog.h"
#include "linux/accounts/AccountFiles.h"
#include "linux/accounts/Group.h"
#include "linux/accounts/Passwd.h"
#include "linux/accounts/Shadow.h"
#include "linux/accounts/UserRecord.h"
#include "linux/local/Context.h"

namespace gatehall::ctl {

namespace {

using Severity = Finding::Severity;

/// Where each name, and each id, stood first.
struct Seen {
  struct Owner {
    std::string name;
    std::string file;
    std::uint64_t line = 0;
  };
  std::map<std::string, Owner, std::less<>> byName{};
  std::map<std::uint32_t, Owner> byID{};
};

std::string placeOf(const Seen::Owner& owner) {
  return placeText({.file = owner.file, .line = owner.line});
}

/// A file of lines, and how an administrator edits it.
struct Lines {
  std::string_view path;
  std::string_view editor;
  std::string_view ids;  ///< what its ids are called; empty: it has none
};

constexpr Lines kPasswdLines{accountFiles::kPasswd, "vipw", "user id"};
constexpr Lines kGroupLines{accountFiles::kGroup, "vigr", "group id"};
constexpr Lines kShadowLines{accountFiles::kShadow, "vipw -s", ""};

class AccountCheck {
 public:
  AccountCheck(const HostOptions& options, Strings& messages)
      : mOptions(options), mMessages(messages), mFaults(mLog, &mReported) {}

  std::vector<Finding> run() {
    checkPasswd();
    checkGroups();
    checkShadow();
    checkRecords();
    return std::move(mFindings);
  }

 private:
  void add(Severity severity, std::string_view file, std::uint64_t line, std::string text,
           std::string remedy) {
    mFindings.push_back({severity, std::string(file), line, std::move(text), std::move(remedy)});
  }

  /// Adds the file's lines that can't be read, and calls with the others.
  template <class Entry>
  bool scan(const Lines& lines, std::optional<Entry> (*parse)(std::string_view, std::string&),
            const std::function<void(const Entry&, std::uint64_t)>& visit) {
    const auto look = [&](std::string_view line, std::uint64_t number) {
      std::string fault = "the line is too long";
      const auto entry = line.empty() ? std::nullopt : parse(line, fault);
      if (!entry) {
        damaged(lines, number, fault);
        return true;
      }
      if (accountLine::plainName(entry->name) != entry->name) {
        damaged(lines, number,
                "there is something unseen in the name " +
                    printable(accountLine::plainName(entry->name)));
      }
      visit(*entry, number);
      return true;
    };
    const int error = accountFiles::scan(mOptions, mFaults, lines.path, look);
    const std::string path(lines.path);
    if (error == EACCES) {
      mMessages.push_back(path + " was not looked at: only root can read it");
    } else if (error != 0) {
      add(Severity::Error, path, 0, std::string("it can't be read: ") + strerrordesc_np(error),
          "Restore it from a backup: without it nobody knows who is who.");
    }
    return error == 0;
  }

  void damaged(const Lines& lines, std::uint64_t number, const std::string& fault) {
    const std::string mend("Mend the line with \"" + std::string(lines.editor) + "\": ");
    if (lines.path == accountFiles::kShadow) {
      add(Severity::Warning, lines.path, number, fault,
          mend + "until then no password fits its account.");
    } else {
      add(Severity::Error, lines.path, number, fault,
          mend + "until then it can't be told of whoever it may be about.");
    }
  }

  void see(const Lines& lines, Seen& seen, std::string_view name, std::optional<std::uint32_t> id,
           std::uint64_t line) {
    const Seen::Owner owner{std::string(name), std::string(lines.path), line};
    const auto [other, isFirst] = seen.byName.emplace(owner.name, owner);
    if (!isFirst) {
      add(Severity::Warning, lines.path, line,
          "the second line of " + printable(name) + ": only the first, line " +
              std::to_string(other->second.line) + ", counts",
          "Remove or rename one of them with \"" + std::string(lines.editor) + "\".");
      return;
    }
    if (!id) return;
    const auto [sharer, isOwn] = seen.byID.emplace(*id, owner);
    if (!isOwn) {
      add(Severity::Warning, lines.path, line,
          "the " + std::string(lines.ids) + " " + std::to_string(*id) + " of " + printable(name) +
              " is also that of " + printable(sharer->second.name) + ", line " +
              std::to_string(sharer->second.line),
          "Give one of them another id, and what it owns to the new one (chown(1)): the lists "
          "can't "
          "tell the two apart.");
    }
  }

  void checkPasswd() {
    scan<PasswdEntry>(
        kPasswdLines, parsePasswdLine, [&](const PasswdEntry& entry, std::uint64_t line) {
          see(kPasswdLines, mUsers, entry.name, entry.userID, line);
          const auto& password = entry.password;
          if (password == "x") mShadowed.emplace(entry.name, line);
          if (password.size() <= 1 || password.front() == '!' || password.front() == '*') return;
          add(Severity::Error, kPasswdLines.path, line,
              "the password's hash of " + printable(entry.name) +
                  " stands here, where everybody can read it",
              "Run \"pwconv\", which moves it to /etc/shadow; then change the password.");
        });
  }

  void checkGroups() {
    Seen groups;
    scan<GroupEntry>(kGroupLines, parseGroupLine, [&](const GroupEntry& entry, std::uint64_t line) {
      see(kGroupLines, groups, entry.name, entry.groupID, line);
    });
  }

  void checkShadow() {
    Seen accounts;
    const auto count = mFindings.size();
    const bool isRead = scan<ShadowEntry>(
        kShadowLines, parseShadowLine, [&](const ShadowEntry& entry, std::uint64_t line) {
          see(kShadowLines, accounts, entry.name, std::nullopt, line);
        });
    // Of a line that can't be read nobody knows whose it is.
    if (!isRead || mFindings.size() != count) return;
    for (const auto& [name, line] : mShadowed) {
      if (accounts.byName.contains(name)) continue;
      add(Severity::Warning, kPasswdLines.path, line,
          printable(name) + " has no line in /etc/shadow, so that no password fits",
          "Run \"pwconv\", then \"passwd " + printable(name) + "\".");
    }
  }

  void checkRecords() {
    const auto before = mReported.size();
    const UserRecords records(mOptions, mFaults);
    for (auto index = before; index < mReported.size(); ++index) {
      const auto& fault = mReported[index];
      add(Severity::Error, fault.file, fault.line, fault.text,
          "Mend the record (root's, chmod 644), or remove it: until then it can't be told of its "
          "account, nor who all the accounts of this machine are.");
    }
    for (const auto& record : records.all()) {
      const auto file = "/etc/userdb/" + record->userName + ".user";
      const auto account = mUsers.byName.find(record->userName);
      const bool isAddition = account != mUsers.byName.end();
      if (!record->userID) continue;
      const auto sharer = mUsers.byID.find(*record->userID);
      if (sharer != mUsers.byID.end() && sharer->second.name != record->userName) {
        add(isAddition ? Severity::Error : Severity::Warning, file, 0,
            "the user id " + std::to_string(*record->userID) + " is that of " +
                printable(sharer->second.name) + " in " + placeOf(sharer->second),
            "Correct \"uid\" there, or give one of them another id.");
      } else if (isAddition && sharer == mUsers.byID.end()) {
        add(Severity::Error, file, 0,
            "the user id " + std::to_string(*record->userID) + " is not that of " +
                placeOf(account->second),
            "Correct \"uid\" there: until then it can't be told of its account.");
      }
      mUsers.byID.emplace(*record->userID, Seen::Owner{record->userName, file});
    }
    for (const auto& record : records.all()) {
      for (const auto& alias : record->aliases) {
        const auto other = mUsers.byName.find(alias);
        if (other == mUsers.byName.end() || alias == record->userName) continue;
        add(Severity::Warning, "/etc/userdb/" + record->userName + ".user", 0,
            "the alias " + printable(alias) + " is the name of another account, " +
                placeOf(other->second),
            "Leave it out of \"aliases\".");
      }
    }
  }

  const HostOptions& mOptions;
  Strings& mMessages;
  SilentLog mLog;
  std::vector<FileFault> mReported;
  FaultLog mFaults;
  std::vector<Finding> mFindings;
  Seen mUsers;
  std::map<std::string, std::uint64_t, std::less<>> mShadowed;  ///< the lines that refer there
};

}  // namespace

std::vector<Finding> findingsOfAccounts(const HostOptions& options, Strings& messages) {
  return AccountCheck(options, messages).run();
}

std::vector<Finding> findingsOfHiddenAccounts(const std::vector<Account>& accounts) {
  std::vector<Finding> findings;
  for (const auto& account : accounts) {
    // What shares a line's name or id within the machine's own files is told of by its line.
    if (account.whyHidden.empty() || account.node == local::kLocalNodeName) continue;
    findings.push_back({Severity::Warning, "", 0,
                        "the account " + printable(account.name) + " of " + account.node +
                            " does not count: " + account.whyHidden,
                        "Rename or renumber one of the two."});
  }
  return findings;
}

}  // namespace gatehall::ctl
