#include "portable/text/Scripts.h"

#include <unicode/uscript.h>

#include "portable/LazyLibrary.h"
#include "portable/text/IcuSonames.h"

namespace gatehall {

namespace {

struct Scripts {
  LazyLibrary library{kIcuuc, kIcuPackage};
  decltype(::uscript_getScript)* script = GATEHALL_FUNCTION(library, uscript_getScript);
  decltype(::uscript_getName)* name = GATEHALL_FUNCTION(library, uscript_getName);
};

const Scripts& icu() {
  static const Scripts functions;
  return functions;
}

}  // namespace

std::optional<std::string> scriptOf(char32_t character) {
  auto status = U_ZERO_ERROR;
  const auto script = icu().script(static_cast<UChar32>(character), &status);
  if (U_FAILURE(status) || script == USCRIPT_COMMON || script == USCRIPT_INHERITED ||
      script == USCRIPT_UNKNOWN) {
    return std::nullopt;
  }
  return icu().name(script);
}

}  // namespace gatehall
