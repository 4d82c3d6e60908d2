#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "people/PictureReaders.h"
#include "tests/Patience.h"

namespace gatehall {
namespace {

using Wanted = PictureReaders::Wanted;

/// A picture of one pixel, whose number is the length of the file.
class PictureReadersTest : public testing::Test {
 protected:
  PictureReadersTest() {
    auto name = (std::filesystem::temp_directory_path() / "gatehall-readers-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary directory");
    mDirectory = name;
  }
  ~PictureReadersTest() override {
    mReaders.reset();
    mGoOn.set_value();
    std::filesystem::remove_all(mDirectory);
  }

  Wanted file(const std::string& name) const { return {mDirectory / name, 46}; }
  void write(const std::string& name, std::size_t length) const {
    const auto other = mDirectory / "other";
    std::ofstream(other) << std::string(length, 'x');
    std::filesystem::rename(other, mDirectory / name);
  }

  bool hang(int count) {
    std::unique_lock lock(mMutex);
    return mChanged.wait_for(lock, kPatience, [&] { return mHung == count; });
  }

  /// The next answer.
  PictureReaders::Answer next() {
    std::unique_lock lock(mMutex);
    while (mAnswers.empty()) {
      EXPECT_TRUE(mChanged.wait_for(lock, kPatience, [this] { return mArrived; }));
      if (!std::exchange(mArrived, false)) return {};
      lock.unlock();  // the readers tell of an answer while they hold a lock of theirs
      auto answers = mReaders->take();
      lock.lock();
      mAnswers = std::move(answers);
    }
    auto answer = std::move(mAnswers.front());
    mAnswers.erase(mAnswers.begin());
    return answer;
  }

  std::filesystem::path mDirectory;
  std::promise<void> mGoOn;
  std::shared_future<void> mHanging = mGoOn.get_future().share();
  std::mutex mMutex;
  std::condition_variable mChanged;
  bool mArrived = false;
  int mHung = 0;
  std::vector<PictureReaders::Answer> mAnswers;
  std::unique_ptr<PictureReaders> mReaders = std::make_unique<PictureReaders>(
      [this, hanging = mHanging](const Wanted& wanted) -> std::optional<Picture> {
        if (wanted.path.ends_with("hangs")) {
          const std::unique_lock lock(mMutex);
          ++mHung;
          mChanged.notify_all();
        }
        if (wanted.path.ends_with("hangs")) hanging.wait();
        if (wanted.path.ends_with("huge")) throw std::bad_alloc();
        std::error_code failure;
        const auto size = std::filesystem::file_size(wanted.path, failure);
        if (failure) return std::nullopt;
        return Picture{1, 1, {static_cast<std::uint32_t>(size)}};
      },
      [this] {
        const std::lock_guard lock(mMutex);
        mArrived = true;
        mChanged.notify_all();
      });
};

TEST_F(PictureReadersTest, ReadWhatIsWanted) {
  write("ann", 3);
  mReaders->want(file("ann"));
  const auto answer = next();
  EXPECT_EQ(answer.wanted, file("ann"));
  ASSERT_TRUE(answer.picture);
  EXPECT_EQ(answer.picture->pixels.front(), 3U);
}

TEST_F(PictureReadersTest, ReadAgainWhatIsOfAnotherVersionOnly) {
  write("ann", 3);
  write("bob", 4);
  mReaders->want(file("ann"));
  const auto before = next();
  mReaders->want(file("ann"), before.version);
  mReaders->want(file("bob"));
  EXPECT_EQ(next().wanted, file("bob"));
  write("ann", 3);  // as long as before, and another file
  mReaders->want(file("ann"), before.version);
  const auto after = next();
  EXPECT_EQ(after.wanted, file("ann"));
  EXPECT_NE(after.version, before.version);
}

TEST_F(PictureReadersTest, FindWhatWasNotThere) {
  mReaders->want(file("ann"));
  const auto before = next();
  EXPECT_FALSE(before.picture);
  EXPECT_EQ(before.version, PictureReaders::Version());
  write("ann", 3);
  mReaders->want(file("ann"), before.version);
  EXPECT_TRUE(next().picture);
}

TEST_F(PictureReadersTest, GoOnWhileFilesKeepThemWaiting) {
  write("ann", 3);
  mReaders->want(file("first hangs"));
  ASSERT_TRUE(hang(1));
  mReaders->want(file("second hangs"));
  mReaders->unblock();
  mReaders->unblock();
  ASSERT_TRUE(hang(2));
  mReaders->want(file("first hangs"));  // which has its thread
  mReaders->want(file("ann"));
  mReaders->unblock();
  mReaders->unblock();
  EXPECT_EQ(next().wanted, file("ann"));
  EXPECT_TRUE(hang(2));
}

TEST_F(PictureReadersTest, HaveNoPictureOfWhatIsTooMuch) {
  mReaders->want(file("huge"));
  EXPECT_FALSE(next().picture);
}

}  // namespace
}  // namespace gatehall
