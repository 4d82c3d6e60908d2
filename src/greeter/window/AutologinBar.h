#pragma once

#include <functional>
#include <gtkmm/box.h>
#include <gtkmm/label.h>

#include "greeter/login/Login.h"
#include "people/Words.h"

namespace gatehall::greeter {

/// Who is logged in automatically, and when, unless somebody is there.
class AutologinBar final : public Gtk::Box {
 public:
  AutologinBar(const Words& words, const std::function<void()>& cancelled);

  /// Is seen while the view has such a login.
  void show(const LoginView& view);

 private:
  const Words& mWords;
  Gtk::Label mWhom;
  Gtk::Label mTime;
};

}  // namespace gatehall::greeter
