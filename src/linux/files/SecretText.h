#pragma once

#include <string.h>
#include <string>
#include <string_view>

namespace gatehall {

/// A copy of a password or of a hash, wiped when it goes.
class SecretText {
 public:
  explicit SecretText(std::string_view text) : mText(text) {}
  ~SecretText() { explicit_bzero(mText.data(), mText.size()); }
  SecretText(const SecretText&) = delete;
  SecretText& operator=(const SecretText&) = delete;

  std::string_view view() const { return mText; }
  const char* c_str() const { return mText.c_str(); }

 private:
  std::string mText;
};

}  // namespace gatehall
