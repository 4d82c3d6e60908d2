#pragma once

#include <functional>
#include <gtkmm/box.h>
#include <gtkmm/button.h>

#include "people/Words.h"
#include "people/widgets/PeopleView.h"

namespace gatehall::greeter {

/// Who logs in: the list, and who isn't in it.
class ChoiceCard final : public Gtk::Box {
 public:
  /// What people do on it.
  struct Deeds {
    std::function<void(const Person& person)> choose;
    std::function<void()> chooseAnother;
    std::function<void()> chooseGuest;
  };

  /// The list lives longer.
  ChoiceCard(const Words& words, PeopleView& people, Deeds deeds);

  void offer(bool another, bool guest);

 private:
  const Deeds mDeeds;
  Gtk::Box mFoot;
  Gtk::Button mAnother;
  Gtk::Button mGuest;
};

}  // namespace gatehall::greeter
