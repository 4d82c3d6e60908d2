#pragma once

#include <gtkmm.h>
#include <memory>
#include <optional>
#include <string>

#include "people/Person.h"
#include "people/Roll.h"
#include "people/Words.h"

namespace gatehall {

/// The list of people with a field to search it: pictures or initials, names, marks. Made for the
/// keyboard: what is typed searches, arrows go through the rows, Enter chooses. On GTK's thread;
/// Platform has a host, whose text system measures the names.
class PeopleView : public Gtk::Box {
 public:
  /// The roll and the words live longer. The view follows the roll from now on.
  PeopleView(Roll& roll, const Words& words);
  ~PeopleView() override;

  /// The service doesn't answer: the reason is shown where there is no list.
  void gone(const std::string& why);
  /// It answers again.
  void back();

  /// Who is marked in the list; the first one where nobody was chosen yet.
  std::optional<Person> selected() const;
  /// Marks whoever is typed by that name to log in; false when nobody in the rows is.
  bool select(const std::string& shortName);
  /// An empty search.
  void clear();
  /// The keyboard's focus to the field.
  void focusSearch();

  /// Somebody was chosen, by click or by Enter.
  sigc::signal<void(const Person&)>& signalChosen() { return mChosen; }
  /// Others are on the screen: from the first of these rows up to the last.
  sigc::signal<void(std::size_t first, std::size_t last)>& signalOnScreen() { return mOnScreen; }

 private:
  struct Parts;

  std::unique_ptr<Parts> mParts;
  sigc::signal<void(const Person&)> mChosen;
  sigc::signal<void(std::size_t, std::size_t)> mOnScreen;
};

}  // namespace gatehall
