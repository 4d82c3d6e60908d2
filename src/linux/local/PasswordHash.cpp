#include "linux/local/PasswordHash.h"

#include <crypt.h>
#include <cstddef>
#include <memory>
#include <string.h>

#include "linux/files/SecretText.h"
#include "portable/LazyLibrary.h"

namespace gatehall::local {

namespace {

constexpr std::string_view kDigits =
    "./0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

struct CryptLibrary {
  LazyLibrary library{"libcrypt.so.1", "libcrypt1"};
  decltype(::crypt_r)* crypt = GATEHALL_FUNCTION(library, crypt_r);
};

struct WipedCryptData {
  crypt_data data{};
  ~WipedCryptData() { explicit_bzero(&data, sizeof data); }
};

bool equalInConstantTime(std::string_view left, std::string_view right) {
  if (left.size() != right.size()) return false;
  int difference = 0;
  for (std::size_t index = 0; index < left.size(); ++index) {
    difference |= left[index] ^ right[index];
  }
  return difference == 0;
}

}  // namespace

bool isPasswordHash(std::string_view text) {
  constexpr std::size_t kTraditional = 13;
  if (text.size() > 1 && (text.front() == '$' || text.front() == '_')) return true;
  return text.size() >= kTraditional && text.find_first_not_of(kDigits) == std::string_view::npos;
}

bool passwordMatchesHash(std::string_view password, std::string_view hash) {
  // crypt(3) would read the password up to a NUL byte only.
  if (password.find('\0') != std::string_view::npos) return false;
  static const CryptLibrary library;
  const SecretText key(password);
  const SecretText setting(hash);
  const auto scratch = std::make_unique<WipedCryptData>();
  const char* made = library.crypt(key.c_str(), setting.c_str(), &scratch->data);
  return made != nullptr && *made != '*' && equalInConstantTime(made, hash);
}

}  // namespace gatehall::local
