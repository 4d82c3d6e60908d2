#include "greeter/window/Panel.h"

#include <gtkmm.h>
#include <utility>

#include "greeter/window/Accessible.h"
#include "greeter/window/Symbol.h"

namespace gatehall::greeter {

namespace {

constexpr int kTallestList = 420;
constexpr int kCheckSize = 14;

Gtk::ListBoxRow& rowOf(const Choice& choice, bool isCurrent) {
  auto& row = *Gtk::make_managed<Gtk::ListBoxRow>();
  auto& line = *Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL, 10);
  auto& name = *Gtk::make_managed<Gtk::Label>(choice.name, Gtk::Align::START);
  name.set_hexpand();
  name.set_ellipsize(Pango::EllipsizeMode::END);
  line.append(name);
  if (isCurrent) line.append(*Gtk::make_managed<Symbol>(Symbol::Shape::Check, kCheckSize));
  row.set_child(line);
  setLabel(row, choice.name);
  return row;
}

}  // namespace

Panel::Panel(std::string_view title) : Gtk::Box(Gtk::Orientation::VERTICAL) {
  add_css_class("panel");
  setRole(*this, Gtk::Accessible::Role::GROUP);
  setLabel(*this, title);
  auto& heading = *Gtk::make_managed<Gtk::Label>(std::string(title), Gtk::Align::START);
  heading.add_css_class("heading");
  append(heading);
}

ChoicePanel::ChoicePanel(std::string_view title, const std::vector<Choice>& choices,
                         const std::string& current,
                         std::function<void(const std::string& key)> chosen)
    : Panel(title) {
  auto& list = *Gtk::make_managed<Gtk::ListBox>();
  list.set_selection_mode(Gtk::SelectionMode::BROWSE);
  setLabel(list, title);
  std::vector<std::string> keys;
  for (const auto& choice : choices) {
    auto& row = rowOf(choice, choice.key == current);
    list.append(row);
    if (mCurrent == nullptr || choice.key == current) mCurrent = &row;
    if (choice.key == current) list.select_row(row);
    keys.push_back(choice.key);
  }
  list.signal_row_activated().connect(
      [keys = std::move(keys), chosen = std::move(chosen)](Gtk::ListBoxRow* row) {
        chosen(keys.at(static_cast<std::size_t>(row->get_index())));
      });
  auto& scrolled = *Gtk::make_managed<Gtk::ScrolledWindow>();
  scrolled.set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::AUTOMATIC);
  scrolled.set_propagate_natural_height();
  scrolled.set_max_content_height(kTallestList);
  scrolled.set_child(list);
  append(scrolled);
}

void ChoicePanel::begin() {
  if (mCurrent != nullptr) mCurrent->grab_focus();
}

}  // namespace gatehall::greeter
