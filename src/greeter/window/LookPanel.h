#pragma once

#include <functional>

#include "greeter/window/Panel.h"
#include "people/Words.h"
#include "people/look/Look.h"

namespace Gtk {
class CheckButton;
}

namespace gatehall::greeter {

/// What makes the screen easier to read.
class LookPanel final : public Panel {
 public:
  LookPanel(const Words& words, Look& look);

  void begin() override;

 private:
  Gtk::CheckButton* mFirst;
};

}  // namespace gatehall::greeter
