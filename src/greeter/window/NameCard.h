#pragma once

#include <functional>
#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/entry.h>
#include <gtkmm/label.h>
#include <string>

#include "people/Words.h"
#include "people/widgets/Portrait.h"

namespace gatehall::greeter {

/// Where somebody who isn't chosen of the list types the name to log in by.
class NameCard final : public Gtk::Box {
 public:
  NameCard(const Words& words, std::function<void(const std::string& name)> typed,
           const std::function<void()>& back, const std::function<void()>& guest);

  /// Why there is no list; "": there is one, to which one can go back if "canGoBack".
  void showReason(const std::string& why);
  void setCanGoBack(bool can);
  void offerGuest(bool isThere);
  /// On a screen that is low for the size of its texts less is shown large.
  void setLow(bool isLow);
  void clear();
  void focusName();
  /// There is one that was not gone on with yet.
  bool isTyping() const;

 private:
  void next();

  const std::function<void(const std::string&)> mTyped;
  Portrait mPortrait;
  Gtk::Label mReason;
  Gtk::Entry mName;
  std::string mTypedName;  ///< that was gone on with
  Gtk::Button mBack;
  Gtk::Box mFoot;
  Gtk::Button mGuest;
};

}  // namespace gatehall::greeter
