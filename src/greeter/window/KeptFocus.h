#pragma once

#include <gtkmm/widget.h>

namespace gatehall::greeter {

/// Remembers which widget had the keyboard. One that goes meanwhile is forgotten.
class KeptFocus {
 public:
  KeptFocus() { g_weak_ref_init(&mWidget, nullptr); }
  ~KeptFocus() { g_weak_ref_clear(&mWidget); }
  KeptFocus(const KeptFocus&) = delete;
  KeptFocus& operator=(const KeptFocus&) = delete;

  /// The one that has it where this stands; none where nothing has it.
  void keep(Gtk::Widget& place);
  void forget() { g_weak_ref_set(&mWidget, nullptr); }
  /// Gives it the keyboard. What was typed there is gone on with. False when there is no such
  /// widget on the screen any more.
  bool giveBack();

 private:
  GWeakRef mWidget{};
};

}  // namespace gatehall::greeter
