#pragma once

#include <cstddef>
#include <gtkmm.h>
#include <list>
#include <map>
#include <string>

#include "people/PictureFile.h"
#include "people/PictureReaders.h"

namespace gatehall {

/// For GTK to draw; from any thread.
Glib::RefPtr<Gdk::Texture> textureOf(const Picture& picture);

/// The pictures of people, round, read by threads beside GTK's. Those that were shown last are
/// kept, as far as a few megabytes go, and read anew when their files are others. On GTK's thread.
class Pictures {
 public:
  /// Those of the process.
  static Pictures& ofProcess();

  Pictures();
  ~Pictures();
  Pictures(const Pictures&) = delete;
  Pictures& operator=(const Pictures&) = delete;

  /// The picture of the file, so many pixels in diameter; null when there is none, and until it is
  /// read. What was asked for last is read first.
  Glib::RefPtr<Gdk::Texture> get(const std::string& path, int diameter);

  /// Some that were asked for have been read, or read anew.
  sigc::signal<void()>& signalRead() { return mRead; }

 private:
  using Wanted = PictureReaders::Wanted;
  struct Kept {
    Glib::RefPtr<Gdk::Texture> texture;
    PictureReaders::Version version;
    std::size_t bytes = 0;
    std::list<Wanted>::iterator use;
  };

  void takeRead();
  void lookAgain();
  void drop(std::map<Wanted, Kept>::iterator kept);

  sigc::signal<void()> mRead;
  Glib::Dispatcher mArrived;
  std::map<Wanted, Kept> mKept;
  std::list<Wanted> mUses;  ///< the latest first
  std::size_t mBytes = 0;
  sigc::connection mTicks;
  PictureReaders mReaders;
};

}  // namespace gatehall
