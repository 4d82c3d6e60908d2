#pragma once

#include <string>
#include <string_view>

namespace gatehall {

/// The text as it is compared when people search: without case, accents, vowel points and tone
/// marks, wide, joined and styled characters as plain ones, every kind of space and control
/// character as one space, letters with a stroke as those without. Vowel signs and what else makes
/// another letter stay. UTF-8; malformed sequences count as U+FFFD. ICU is mapped by the first text
/// that is not ASCII; without it only ASCII letters lose their case. From any thread.
std::string searchForm(std::string_view text);

}  // namespace gatehall
