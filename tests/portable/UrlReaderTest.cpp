#include <gtest/gtest.h>
#include <string>

#include "portable/UrlReader.h"

namespace gatehall {
namespace {

TEST(UrlReader, ReadsTheSchemeAsItIsWritten) {
  const auto url = readURL("Smb://server.example.org/bob%20ray?x#y");
  ASSERT_TRUE(url);
  EXPECT_EQ(url->scheme, "Smb");
  EXPECT_EQ(url->absoluteText, "Smb://server.example.org/bob%20ray?x#y");
  EXPECT_FALSE(url->isFile);
}

TEST(UrlReader, KnowsAFileByTheSchemeInAnyCase) {
  for (const auto* text : {"file:///home/bob", "FILE:///home/bob", "file:/home/bob",
                           "file://localhost/home/bob", "file:"}) {
    ASSERT_TRUE(readURL(text)) << text;
    EXPECT_TRUE(readURL(text)->isFile) << text;
  }
  EXPECT_FALSE(readURL("files:///home/bob")->isFile);
}

TEST(UrlReader, HasNoURLOfOtherTexts) {
  for (const auto* text : {"", "/home/bob", "bob", "not a URL", "file:///home/bob ray", ":x", "1:x",
                           " file:///x", "file:///x\n", "file:///é", "file:///%x"}) {
    EXPECT_FALSE(readURL(text)) << text;
  }
}

TEST(UrlReader, HasNoURLOfMoreThan8KiB) {
  const std::string start = "file:///";
  EXPECT_TRUE(readURL(start + std::string(8 * 1024 - start.size(), 'x')));
  EXPECT_FALSE(readURL(start + std::string(8 * 1024 + 1 - start.size(), 'x')));
  std::string slashes = "file://";
  while (slashes.size() < 8 * 1024) slashes += '/';
  EXPECT_TRUE(readURL(slashes));
  EXPECT_FALSE(readURL(slashes + std::string(1024 * 1024, '/')));
}

}  // namespace
}  // namespace gatehall
