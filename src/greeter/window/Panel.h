#pragma once

#include <functional>
#include <gtkmm/box.h>
#include <string>
#include <string_view>
#include <vector>

namespace gatehall::greeter {

/// What lies over the login screen until it is closed: a title and what is to be chosen.
class Panel : public Gtk::Box {
 public:
  explicit Panel(std::string_view title);

  /// The keyboard to where one begins.
  virtual void begin() = 0;
};

/// One thing of several.
struct Choice {
  std::string key;
  std::string name;
};

/// A list of which one thing is chosen; the panel isn't closed by it.
class ChoicePanel final : public Panel {
 public:
  ChoicePanel(std::string_view title, const std::vector<Choice>& choices,
              const std::string& current, std::function<void(const std::string& key)> chosen);

  void begin() override;

 private:
  Gtk::Widget* mCurrent = nullptr;
};

}  // namespace gatehall::greeter
