#include "menu/window/MenuWindow.h"

#include <string>

namespace gatehall::menu {

namespace {

constexpr int kWidth = 400;
constexpr int kHeight = 560;

}  // namespace

MenuWindow::MenuWindow(Roll& roll, const Words& words) : mRoll(roll), mPeople(roll, words) {
  set_title(Glib::ustring(std::string(words.translated("Switch user"))));
  set_decorated(false);
  set_default_size(kWidth, kHeight);
  add_css_class("gatehall-menu");
  putTogether(words);

  const auto keys = Gtk::EventControllerKey::create();
  // Before the field for the search, which takes Esc for itself.
  keys->set_propagation_phase(Gtk::PropagationPhase::CAPTURE);
  keys->signal_key_pressed().connect(
      [this](guint key, guint, Gdk::ModifierType) { return press(key); }, false);
  add_controller(keys);
  property_is_active().signal_changed().connect([this] {
    // The lock of the session takes the focus, too, and a switch is still to come then.
    if (!is_active() && get_visible() && !mIsSwitching) mLeft.emit();
  });
}

void MenuWindow::putTogether(const Words& words) {
  mButton.set_label(Glib::ustring(std::string(words.translated("Login screen…"))));
  mButton.add_css_class("gatehall-login-screen");
  mButton.signal_clicked().connect([this] { mLoginScreen.emit(); });
  for (auto* label : {&mTitle, &mText}) {
    label->set_wrap(true);
    label->set_wrap_mode(Pango::WrapMode::WORD_CHAR);
    label->set_xalign(0);
    mLines.append(*label);
  }
  mTitle.add_css_class("gatehall-said-title");
  mText.add_css_class("gatehall-said-text");
  mSaid.set_child(mLines);
  mSaid.add_css_class("gatehall-said");
  mSaid.signal_clicked().connect([this] { mBack.emit(); });
  mSaid.set_visible(false);
  mPeople.add_css_class("gatehall-people-of-menu");
  mPeople.set_vexpand(true);
  mAll.append(mButton);
  mAll.append(mSaid);
  mAll.append(mPeople);
  set_child(mAll);
}

void MenuWindow::reset() {
  mPeople.clear();
  tell(ChoiceView());
  mPeople.focusSearch();
}

void MenuWindow::tell(const ChoiceView& view) {
  mIsSwitching = view.stage == ChoiceView::Stage::Switching;
  const bool isRefusal = view.stage == ChoiceView::Stage::Choosing && !view.title.empty();
  const bool wasRefusal = mSaid.has_css_class("refusal");
  mTitle.set_text(view.title);
  mText.set_text(view.text);
  mText.set_visible(!view.text.empty());
  const auto whole = view.text.empty() ? view.title : view.title + "\n" + view.text;
  gtk_accessible_update_property(GTK_ACCESSIBLE(mSaid.gobj()), GTK_ACCESSIBLE_PROPERTY_LABEL,
                                 whole.c_str(), -1);
  mSaid.set_visible(!view.title.empty());
  mButton.set_sensitive(!mIsSwitching);
  mPeople.set_sensitive(!mIsSwitching);
  if (isRefusal) {
    mSaid.add_css_class("refusal");
    mSaid.grab_focus();
  } else if (wasRefusal) {
    mSaid.remove_css_class("refusal");
    mPeople.focusSearch();
  }
}

bool MenuWindow::press(guint key) {
  if (key != GDK_KEY_Escape) return false;
  if (mSaid.has_css_class("refusal")) {
    mBack.emit();
  } else if (!mRoll.searched().empty()) {
    return false;  // the field clears itself
  } else {
    mLeft.emit();
  }
  return true;
}

}  // namespace gatehall::menu
