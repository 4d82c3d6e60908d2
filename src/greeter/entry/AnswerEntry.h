#pragma once

#include <array>
#include <cstddef>
#include <gtkmm/entry.h>
#include <string_view>

namespace gatehall::greeter {

/// An entry for answers to PAM. Of a secret GTK has as many dots, and nothing else: what is in its
/// entries, hidden or not, GTK 4.8 tells in plain to screen readers and to whoever else reads on
/// AT-SPI's bus.
class AnswerEntry final : public Gtk::Entry {
 public:
  AnswerEntry();
  ~AnswerEntry() override;
  AnswerEntry(const AnswerEntry&) = delete;
  AnswerEntry& operator=(const AnswerEntry&) = delete;

  /// Whether what is typed is a secret. Another kind of answer begins with nothing.
  void setSecret(bool isSecret);
  /// What was typed, in UTF-8, until that changes. At most as long as what PAM takes.
  std::string_view typed() const;
  /// Wipes what was typed.
  void clear();

 private:
  static void onInsert(GtkEditable* text, const char* typed, int length, int* position,
                       gpointer self);
  static void onDelete(GtkEditable* text, int start, int end, gpointer self);

  /// The characters of these that there was room for, put in before the one at the position.
  std::size_t insert(std::string_view typed, int position);
  void erase(int start, int end);
  std::size_t offsetOf(int position) const;

  /// Of what PAM reads of an answer (PAM_MAX_RESP_SIZE), less the end.
  static constexpr std::size_t kLongest = 511;

  bool mIsSecret = false;
  bool mIsInserting = false;
  std::array<char, kLongest + 1> mSecret{};  ///< ends with a zero byte
  std::size_t mLength = 0;                   ///< in bytes
};

}  // namespace gatehall::greeter
