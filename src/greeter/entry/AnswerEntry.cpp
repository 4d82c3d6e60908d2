#include "greeter/entry/AnswerEntry.h"

#include <algorithm>
#include <cstring>
#include <gtkmm.h>
#include <memory>
#include <string.h>
#include <string>
#include <sys/mman.h>

namespace gatehall::greeter {

namespace {

constexpr std::string_view kDot = "●";

/// How many bytes of what is typed go into so many, without half of a character.
std::size_t fitting(std::string_view typed, std::size_t room) {
  auto fits = std::min(typed.size(), room);
  while (fits < typed.size() && fits > 0 && (typed[fits] & 0xC0) == 0x80) --fits;
  return fits;
}

}  // namespace

AnswerEntry::AnswerEntry() {
  // Best effort: where nothing may be locked into memory, a secret may be swapped out.
  mlock(mSecret.data(), mSecret.size());
  // What is typed that is no secret is wiped as well.
  gtk_entry_set_buffer(gobj(), std::unique_ptr<GtkEntryBuffer, decltype(&g_object_unref)>(
                                   gtk_password_entry_buffer_new(), g_object_unref)
                                   .get());
  set_enable_undo(false);  // it would bring back what was cleared
  auto* const text = gtk_editable_get_delegate(GTK_EDITABLE(gobj()));
  g_signal_connect(text, "insert-text", G_CALLBACK(onInsert), this);
  g_signal_connect(text, "delete-text", G_CALLBACK(onDelete), this);
}

AnswerEntry::~AnswerEntry() {
  g_signal_handlers_disconnect_by_data(gtk_editable_get_delegate(GTK_EDITABLE(gobj())), this);
  explicit_bzero(mSecret.data(), mSecret.size());
  munlock(mSecret.data(), mSecret.size());
}

void AnswerEntry::setSecret(bool isSecret) {
  if (isSecret != mIsSecret) clear();
  mIsSecret = isSecret;
  set_visibility(!isSecret);
  set_input_purpose(isSecret ? Gtk::InputPurpose::PASSWORD : Gtk::InputPurpose::FREE_FORM);
}

std::string_view AnswerEntry::typed() const {
  if (mIsSecret) return {mSecret.data(), mLength};
  return gtk_editable_get_text(GTK_EDITABLE(const_cast<GtkEntry*>(gobj())));
}

void AnswerEntry::clear() {
  set_text("");
  explicit_bzero(mSecret.data(), mSecret.size());
  mLength = 0;
}

/// Puts dots in place of a secret that is typed, before anybody else is told of it, and takes no
/// more than PAM does.
void AnswerEntry::onInsert(GtkEditable* text, const char* typed, int length, int* position,
                           gpointer self) {
  auto& entry = *static_cast<AnswerEntry*>(self);
  if (entry.mIsInserting) return;
  const std::string_view all(typed,
                             length < 0 ? std::strlen(typed) : static_cast<std::size_t>(length));
  g_signal_stop_emission_by_name(text, "insert-text");
  entry.mIsInserting = true;
  if (entry.mIsSecret) {
    std::string dots;
    for (auto left = entry.insert(all, *position); left > 0; --left) dots.append(kDot);
    gtk_editable_insert_text(text, dots.data(), static_cast<int>(dots.size()), position);
  } else {
    const auto room = kLongest - std::min(kLongest, entry.typed().size());
    gtk_editable_insert_text(text, typed, static_cast<int>(fitting(all, room)), position);
  }
  entry.mIsInserting = false;
}

void AnswerEntry::onDelete(GtkEditable*, int start, int end, gpointer self) {
  auto& entry = *static_cast<AnswerEntry*>(self);
  if (entry.mIsSecret) entry.erase(start, end);
}

std::size_t AnswerEntry::insert(std::string_view typed, int position) {
  if (g_utf8_validate_len(typed.data(), typed.size(), nullptr) == FALSE) return 0;
  const auto fits = fitting(typed, kLongest - mLength);
  auto* const place = mSecret.data() + offsetOf(position);
  std::memmove(place + fits, place, static_cast<std::size_t>(mSecret.data() + mLength - place));
  std::memcpy(place, typed.data(), fits);
  mLength += fits;
  return static_cast<std::size_t>(g_utf8_strlen(typed.data(), static_cast<gssize>(fits)));
}

void AnswerEntry::erase(int start, int end) {
  const auto from = offsetOf(start);
  const auto to = std::max(from, end < 0 ? mLength : offsetOf(end));
  std::memmove(mSecret.data() + from, mSecret.data() + to, mLength - to);
  const auto left = mLength - (to - from);
  explicit_bzero(mSecret.data() + left, mLength - left);
  mLength = left;
}

/// The byte where the character of that number begins; behind the last one the end.
std::size_t AnswerEntry::offsetOf(int position) const {
  const auto count = g_utf8_strlen(mSecret.data(), static_cast<gssize>(mLength));
  const auto* const place =
      g_utf8_offset_to_pointer(mSecret.data(), std::clamp<glong>(position, 0, count));
  return static_cast<std::size_t>(place - mSecret.data());
}

}  // namespace gatehall::greeter
