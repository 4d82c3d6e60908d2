#include <gtest/gtest.h>
#include <string>

#include "portable/formats/UrlReader.h"

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

TEST(UrlReader, KnowsWhatMayStandInFrontOfAPath) {
  for (const auto* text :
       {"smb://bob:x@server:445/share", "smb://@server", "smb://:", "smb://10.0.0.1/x",
        "smb://[::1]", "smb://bob@[fe80::1]:445/x", "smb://[::ffff:10.0.0.1]:/x",
        "smb://[v1f.a:b]/x", "smb://%C3%A9/x", "smb:", "s+m-b.1:x:@/y", "a:?x?/y#x?/y"}) {
    EXPECT_TRUE(readURL(text)) << text;
  }
  for (const auto* text : {"smb://a@b@c",
                           "smb://server:x",
                           "smb://server:4:5",
                           "smb://[::1",
                           "smb://[::1]x",
                           "smb://::1]",
                           "smb://[1.2.3.4]",
                           "smb://[1:2]",
                           "smb://[fe80::1%25eth0]",
                           "smb://[v.a]",
                           "smb://[v1.]",
                           "smb://[v1.a%41]",
                           "smb://[]",
                           "smb://ser[ver",
                           "a_b:x",
                           "+a:x",
                           "a:x[",
                           "a:%4",
                           "a:%",
                           "a:x#y#z",
                           "a:x?[",
                           "a:x#\\",
                           "smb://ser ver/x",
                           "smb://b[b@server"}) {
    EXPECT_FALSE(readURL(text)) << text;
  }
  EXPECT_FALSE(readURL(std::string_view("smb://[::1\0]", 12)));
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
