#include <filesystem>
#include <fstream>
#include <gdk-pixbuf/gdk-pixbuf.h>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/stat.h>

#include "people/PictureFile.h"

namespace gatehall {
namespace {

class PictureFile : public ::testing::Test {
 protected:
  PictureFile() {
    auto name = (std::filesystem::temp_directory_path() / "gatehall-pictures-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary directory");
    mDirectory = name;
  }
  ~PictureFile() override { std::filesystem::remove_all(mDirectory); }

  std::filesystem::path path() const { return mDirectory / "picture"; }

  /// A file in one colour, red, green, blue and alpha from the highest byte down.
  void save(int width, int height, const char* format, guint32 colour, bool hasAlpha = false) {
    auto* pixbuf = gdk_pixbuf_new(GDK_COLORSPACE_RGB, hasAlpha ? TRUE : FALSE, 8, width, height);
    gdk_pixbuf_fill(pixbuf, colour);
    ASSERT_TRUE(gdk_pixbuf_save(pixbuf, path().c_str(), format, nullptr, nullptr));
    g_object_unref(pixbuf);
  }

  std::string bytes() const {
    std::ifstream file(path(), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  void write(const std::string& bytes) { std::ofstream(path(), std::ios::binary) << bytes; }

  std::filesystem::path mDirectory;
};

TEST_F(PictureFile, ReadsPNG) {
  save(3, 2, "png", 0x102030FF);
  const auto picture = readPicture(path());
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->width, 3);
  EXPECT_EQ(picture->height, 2);
  EXPECT_EQ(picture->pixels, std::vector<std::uint32_t>(6, 0xFF102030));
}

TEST_F(PictureFile, MultipliesColoursByAlpha) {
  save(1, 1, "png", 0xFF804080, true);
  EXPECT_EQ(readPicture(path())->pixels, std::vector<std::uint32_t>{0x80804020});
}

TEST_F(PictureFile, ReadsJPEG) {
  save(40, 20, "jpeg", 0xFFFFFFFF);
  const auto picture = readPicture(path());
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->pixels, std::vector<std::uint32_t>(800, 0xFFFFFFFF));
}

TEST_F(PictureFile, MakesALargePictureSmallerInProportion) {
  save(1000, 500, "png", 0x102030FF);
  const auto picture = readPicture(path());
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->width, 256);
  EXPECT_EQ(picture->height, 128);
  save(4096, 2, "png", 0x102030FF);
  EXPECT_EQ(readPicture(path())->height, 1);
}

TEST_F(PictureFile, HasNoPictureOfTooManyPixels) {
  for (const auto* format : {"png", "jpeg"}) {
    save(4097, 1, format, 0);
    EXPECT_FALSE(readPicture(path())) << format;
    save(1, 4097, format, 0);
    EXPECT_FALSE(readPicture(path())) << format;
  }
}

TEST_F(PictureFile, HasNoPictureOfATooLargeFile) {
  save(3, 2, "png", 0);
  std::filesystem::resize_file(path(), (4U << 20U) + 1);
  EXPECT_FALSE(readPicture(path()));
}

TEST_F(PictureFile, HasNoPictureOfADamagedFile) {
  for (const auto* format : {"png", "jpeg"}) {
    save(40, 20, format, 0x102030FF);
    const auto whole = bytes();
    for (std::size_t length = 0; length < whole.size() / 2; length += 7) {
      write(whole.substr(0, length));
      EXPECT_FALSE(readPicture(path())) << format << " of " << length;
    }
  }
}

TEST_F(PictureFile, HasNoPictureOfOtherFormats) {
  save(3, 2, "bmp", 0);
  EXPECT_FALSE(readPicture(path()));
  write("<svg xmlns=\"http://www.w3.org/2000/svg\"/>");
  EXPECT_FALSE(readPicture(path()));
}

TEST_F(PictureFile, HasNoPictureOfWhatIsNoPlainFile) {
  EXPECT_FALSE(readPicture(path()));
  EXPECT_FALSE(readPicture(mDirectory));
  EXPECT_FALSE(readPicture("/dev/zero"));
  // Nobody writes into it, and nobody waits for that.
  ASSERT_EQ(mkfifo(path().c_str(), 0600), 0);
  EXPECT_FALSE(readPicture(path()));
}

TEST_F(PictureFile, TakesOtherLimits) {
  save(300, 200, "png", 0x102030FF);
  EXPECT_EQ(readPicture(path(), {.sideKept = 300})->width, 300);
  EXPECT_EQ(readPicture(path(), {.sideKept = 30})->height, 20);
  EXPECT_FALSE(readPicture(path(), {.side = 299}));
  EXPECT_FALSE(readPicture(path(), {.bytes = std::filesystem::file_size(path()) - 1}));
}

TEST_F(PictureFile, ReadsDrawingsWhereTheyAreWanted) {
  write(
      "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"8\" height=\"4\">"
      "<rect width=\"8\" height=\"4\" fill=\"#102030\"/></svg>");
  EXPECT_FALSE(readPicture(path()));
  const auto picture = readPicture(path(), {.hasSVG = true});
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->width, 8);
  EXPECT_EQ(picture->pixels, std::vector<std::uint32_t>(32, 0xFF102030));
  EXPECT_EQ(readPicture(path(), {.side = 7, .sideKept = 6, .hasSVG = true})->height, 3);
}

}  // namespace
}  // namespace gatehall
