#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "gatehall/platform/Platform.h"
#include "instrumented/Fault.h"
#include "instrumented/RecordingLog.h"
#include "portable/formats/PortableMarkup.h"
#include "world/WorldClock.h"
#include "world/WorldCollation.h"
#include "world/WorldLoginService.h"
#include "world/WorldNotifications.h"
#include "world/WorldParentalControls.h"
#include "world/WorldPreferences.h"
#include "world/WorldProcess.h"
#include "world/WorldRunLoop.h"
#include "world/WorldSessions.h"
#include "world/WorldTextSystem.h"
#include "world/directory/WorldDirectory.h"
#include "world/directory/WorldMembership.h"

namespace gatehall {

/// A whole host in memory. Each service is its interface and, beside it, the ways to change what
/// the service finds: to add a record, to open a session, to let time pass. Nothing outside is read
/// or written.
class World final : public Platform {
 public:
  /// An empty world: root runs the program, there are no nodes, sessions, lists and files, nothing
  /// is refused, and it is the start of 2026.
  World();
  ~World() override;

  /// The failures that the world's file asks for. The world does not make them happen: whoever
  /// installs it puts an InstrumentedPlatform around it.
  const std::vector<Fault>& faults() const { return mFaults; }
  void setFaults(std::vector<Fault> faults);

  WorldProcess& process() override { return mProcess; }
  WorldDirectory& directory() override { return mDirectory; }
  WorldSessions& sessions() override { return mSessions; }
  WorldLoginService& loginService() override { return mLoginService; }
  WorldMembership& membership() override { return mMembership; }
  WorldPreferences& preferences() override { return mPreferences; }
  WorldPropertyLists& propertyLists() override { return mPropertyLists; }
  WorldNotificationCenter& notificationCenter() override { return mNotificationCenter; }
  WorldNotificationCenter& distributedNotificationCenter() override {
    return mDistributedNotificationCenter;
  }
  WorldClock& clock() override { return mClock; }
  RecordingLog& log() override { return mLog; }
  WorldCollation& collation() override { return mCollation; }
  WorldTextSystem& text() override { return mText; }
  PortableMarkup& markup() override { return mMarkup; }
  WorldParentalControls& parentalControls() override { return mParentalControls; }
  WorldSystemNotifications& systemNotifications() override { return mSystemNotifications; }
  WorldRunLoop& runLoop() override { return mRunLoop; }
  void endThreads() override { mRunLoop.endThreads(); }

 private:
  std::vector<Fault> mFaults;
  WorldProcess mProcess;
  WorldClock mClock;
  RecordingLog mLog;
  WorldCollation mCollation;
  WorldTextSystem mText;
  PortableMarkup mMarkup;
  WorldDirectory mDirectory;
  WorldSessions mSessions;
  WorldLoginService mLoginService{mDirectory, mSessions};
  WorldMembership mMembership{mDirectory};
  WorldParentalControls mParentalControls;
  WorldPreferences mPreferences;
  WorldPropertyLists mPropertyLists;
  // Ends the threads, which may still ask the other services, before those go; what its tasks
  // deliver through goes after it.
  WorldNotificationCenter mNotificationCenter{mRunLoop};
  WorldNotificationCenter mDistributedNotificationCenter{mRunLoop};
  WorldSystemNotifications mSystemNotifications{mRunLoop};
  WorldRunLoop mRunLoop{mClock};
};

}  // namespace gatehall
