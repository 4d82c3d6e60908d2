#include "greeter/window/ChoiceCard.h"

#include <gtkmm.h>
#include <utility>

namespace gatehall::greeter {

ChoiceCard::ChoiceCard(const Words& words, PeopleView& people, Deeds deeds)
    : Gtk::Box(Gtk::Orientation::VERTICAL),
      mDeeds(std::move(deeds)),
      mFoot(Gtk::Orientation::HORIZONTAL, 10),
      mAnother(std::string(words.translated("Another user…"))),
      mGuest(std::string(words.translated("Guest"))) {
  add_css_class("choice");
  people.set_vexpand();
  people.signalChosen().connect(mDeeds.choose);
  append(people);
  mFoot.add_css_class("foot");
  mFoot.set_homogeneous();
  mAnother.signal_clicked().connect(mDeeds.chooseAnother);
  mGuest.signal_clicked().connect(mDeeds.chooseGuest);
  for (auto* const button : {&mAnother, &mGuest}) {
    button->set_hexpand();
    mFoot.append(*button);
  }
  append(mFoot);
  offer(false, false);
}

void ChoiceCard::offer(bool another, bool guest) {
  mAnother.set_visible(another);
  mGuest.set_visible(guest);
  mFoot.set_visible(another || guest);
}

}  // namespace gatehall::greeter
