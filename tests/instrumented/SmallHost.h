#pragma once

#include <algorithm>
#include <atomic>
#include <map>
#include <utility>

#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/platform/Platform.h"
#include "instrumented/RecordingLog.h"
#include "instrumented/RecordingLoginService.h"

namespace gatehall {

/// A host of one node ("local", which also searches), in which every operation has something to
/// answer: bob, the group admin that he is in, one session, one access list, one preference.
class SmallHost : public Platform {
 public:
  class Record : public DirectoryRecord {
   public:
    Record(std::string type, std::map<std::string, Strings, std::less<>> attributes)
        : mType(std::move(type)), mAttributes(std::move(attributes)) {}

    std::string recordType() override { return mType; }

    std::optional<Strings> valuesForAttribute(std::string_view kind) override {
      ++mReads;
      if (mIsGone) throw PlatformException("The record is gone.");
      const auto found = mAttributes.find(attribute::canonical(kind));
      if (found == mAttributes.end()) return std::nullopt;
      return found->second;
    }

    std::optional<Dictionary> recordDetails(const Strings& kinds) override {
      Dictionary details;
      for (const auto& each : kinds) details.emplace(each, *valuesForAttribute(each));
      return details;
    }

    bool setValue(std::string_view value, std::string_view kind) override {
      mAttributes[std::string(kind)] = {std::string(value)};
      return true;
    }

    bool verifyPassword(std::string_view password, DirectoryError& error) override {
      if (password == mPassword) return true;
      error = {std::string(kDirectoryErrorDomain), -5000};
      return false;
    }

    bool changePassword(std::string_view oldPassword, std::string_view newPassword,
                        DirectoryError& error) override {
      if (!verifyPassword(oldPassword, error)) return false;
      mPassword = newPassword;
      return true;
    }

    /// Asks what only this host's records have, as a real directory does.
    bool isMember(DirectoryRecord& member) override {
      const auto& names = dynamic_cast<Record&>(member).mAttributes.at("RecordName");
      return mAttributes.at("GroupMembership").front() == names.front();
    }

    std::optional<Dictionary> passwordPolicy() override {
      return Dictionary{{"maxFailedLoginAttempts", 3}};
    }

    bool synchronize() override { return true; }

    std::atomic<int> mReads = 0;
    std::atomic<bool> mIsGone = false;

   private:
    std::string mType;
    std::map<std::string, Strings, std::less<>> mAttributes;
    std::string mPassword = "sesame";
  };

  Process& process() override { return mProcess; }
  DirectoryService& directory() override { return mDirectory; }
  SessionService& sessions() override { return mSessions; }
  LoginService& loginService() override { return mLoginService; }
  MembershipService& membership() override { return mMembership; }
  PreferenceStore& preferences() override { return mPreferences; }
  PropertyListReader& propertyLists() override { return mPropertyLists; }
  NotificationCenter& notificationCenter() override { throw PlatformException("No centre."); }
  NotificationCenter& distributedNotificationCenter() override {
    throw PlatformException("No distributed centre.");
  }
  Clock& clock() override { return mClock; }
  Log& log() override { return mLog; }
  Collation& collation() override { throw PlatformException("No collation."); }
  ParentalControls& parentalControls() override {
    if (!mHasParentalControls) return Platform::parentalControls();
    return mParentalControls;
  }

  RecordingLog mLog;
  RecordingLoginService mLoginService;
  bool mHasParentalControls = true;
  std::shared_ptr<Record> mBob = std::make_shared<Record>(
      "Users", std::map<std::string, Strings, std::less<>>{{"RecordName", {"bob", "bobby"}},
                                                           {"UniqueID", {"1002"}},
                                                           {"UserShell", {"/bin/sh"}},
                                                           {"MetaNodeLocation", {"local"}}});
  std::shared_ptr<Record> mAdmin = std::make_shared<Record>(
      "Groups", std::map<std::string, Strings, std::less<>>{{"RecordName", {"admin"}},
                                                            {"GroupMembership", {"bob"}},
                                                            {"MetaNodeLocation", {"local"}}});

 private:
  struct Query : DirectoryQuery {
    explicit Query(std::shared_ptr<Record> found) : mFound(std::move(found)) {}
    std::optional<std::vector<std::shared_ptr<DirectoryRecord>>> results(bool) override {
      return std::vector<std::shared_ptr<DirectoryRecord>>{mFound};
    }
    std::shared_ptr<Record> mFound;
  };

  struct Node : DirectoryNode {
    explicit Node(SmallHost& host) : mHost(host) {}
    std::optional<std::string> nodeName() override { return "local"; }
    std::optional<Strings> subnodeNames() override { return Strings{"local"}; }
    std::optional<Strings> unreachableSubnodeNames() override { return Strings{}; }
    std::shared_ptr<DirectoryRecord> recordByTypeAndName(std::string_view, std::string_view name,
                                                         const Strings&) override {
      if (name == "bob") return mHost.mBob;
      if (name == "admin") return mHost.mAdmin;
      return nullptr;
    }
    std::shared_ptr<DirectoryQuery> query(QueryDescription) override {
      return std::make_shared<Query>(mHost.mBob);
    }
    SmallHost& mHost;
  };

  struct Session : DirectorySession {
    explicit Session(SmallHost& host) : mHost(host) {}
    std::shared_ptr<DirectoryNode> nodeByType(NodeType) override {
      return std::make_shared<Node>(mHost);
    }
    std::shared_ptr<DirectoryNode> nodeByName(std::string_view name) override {
      return name == "local" ? std::make_shared<Node>(mHost) : nullptr;
    }
    SmallHost& mHost;
  };

  struct Directory : DirectoryService {
    explicit Directory(SmallHost& host) : mHost(host) {}
    std::shared_ptr<DirectorySession> defaultSession() override {
      return std::make_shared<Session>(mHost);
    }
    SmallHost& mHost;
  };

  struct OwnProcess : Process {
    std::uint32_t effectiveUserID() override { return 1000; }
  };

  struct Sessions : SessionService {
    std::optional<Dictionary> copyCurrentSession() override { return Dictionary{{"id", 1}}; }
    std::optional<std::vector<std::optional<Dictionary>>> copySessionList() override {
      return std::vector<std::optional<Dictionary>>{Dictionary{{"id", 1}}, std::nullopt};
    }
  };

  struct Membership : MembershipService {
    int guidToIdentifier(std::string_view, Identifier& identifier) override {
      identifier.fill(0xA0);
      return 0;
    }
    int userIDToIdentifier(std::uint32_t, Identifier& identifier) override {
      identifier.fill(0x0B);
      return 0;
    }
    int checkServiceMembership(const Identifier&, std::string_view, bool& isMember) override {
      isMember = true;
      return 0;
    }
  };

  struct Controls : ParentalControls {
    bool mayLogInNow(std::uint32_t, std::int32_t& result,
                     std::optional<Date>& nextCurfew) override {
      result = 3;
      nextCurfew = Date{};
      return false;
    }
  };

  struct Preferences : PreferenceStore {
    std::optional<Value> copyApplicationValue(std::string_view, std::string_view) override {
      return "stored";
    }
    bool applicationBoolean(std::string_view, std::string_view, bool& exists) override {
      exists = true;
      return true;
    }
    void synchronizePreferences(std::string_view) override { ++mSynchronized; }
    int mSynchronized = 0;
  };

  struct PropertyLists : PropertyListReader {
    std::optional<Value> readPropertyList(std::string_view) override { return "listed"; }
  };

  struct StoppedClock : Clock {
    Date now() override { return Date{}; }
  };

  Directory mDirectory{*this};
  OwnProcess mProcess;
  Sessions mSessions;
  Membership mMembership;
  Controls mParentalControls;
  PropertyLists mPropertyLists;
  StoppedClock mClock;

 public:
  Preferences mPreferences;
};

inline std::shared_ptr<DirectoryNode> localNode(Platform& host) {
  return host.directory().defaultSession()->nodeByName("local");
}

inline std::shared_ptr<DirectoryRecord> bob(Platform& host) {
  return localNode(host)->recordByTypeAndName(record::Users, "bob", {});
}

inline std::shared_ptr<DirectoryRecord> admin(Platform& host) {
  return localNode(host)->recordByTypeAndName(record::Groups, "admin", {});
}

}  // namespace gatehall
