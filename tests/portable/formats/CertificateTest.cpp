#include <gtest/gtest.h>
#include <string>

#include "portable/formats/Certificate.h"

namespace gatehall {
namespace {

TEST(Certificate, IsNoneInOtherBytes) {
  for (const auto& bytes : {std::string(), std::string("\x30\x03\x02\x01\x05"),
                            std::string(100000, '\x30'), std::string("-----BEGIN")}) {
    EXPECT_FALSE(readCertificate(bytes, "localhost"));
  }
}

}  // namespace
}  // namespace gatehall
