#pragma once

#include <gtkmm.h>
#include <optional>
#include <string>
#include <vector>

#include "people/Marks.h"
#include "people/Person.h"
#include "people/Words.h"

namespace gatehall {

/// A row of the list: face, name, short name and marks, as large as the row's font is. It draws
/// itself, since a list makes some two hundred of them at every key that is typed.
class PersonRow : public Gtk::Widget {
 public:
  explicit PersonRow(const Words& words);
  PersonRow(const PersonRow&) = delete;
  PersonRow& operator=(const PersonRow&) = delete;

  void show(const Person& person);
  /// Whether a line parts it from the row above.
  void setLine(bool hasLine);
  const std::optional<Person>& person() const { return mPerson; }

  /// All that the row says, for who can't see it.
  std::string said() const;
  /// Whether it would say something else now: its marks are of hours and days.
  bool isOutOfDate() const;

 protected:
  void measure_vfunc(Gtk::Orientation orientation, int forSize, int& minimum, int& natural,
                     int& minimumBaseline, int& naturalBaseline) const override;
  void snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) override;

 private:
  const Words& mWords;
  std::optional<Person> mPerson{};
  std::string mSaid{};  ///< as it was shown
  bool mHasLine = false;
};

}  // namespace gatehall
