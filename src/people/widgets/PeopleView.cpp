#include "people/widgets/PeopleView.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <unordered_map>

#include "people/Stillness.h"
#include "people/widgets/PeopleModel.h"
#include "people/widgets/PeopleSheet.h"
#include "people/widgets/PersonRow.h"
#include "people/widgets/Pictures.h"

namespace gatehall {

namespace {

/// A shorter list is not searched: it is all on the screen.
constexpr std::size_t kShortList = 7;

/// The sheet stands behind that of whoever shows the view.
void useSheet() {
  static const auto sheet = [] {
    auto provider = Gtk::CssProvider::create();
    provider->load_from_data(kPeopleSheet);
    return provider;
  }();
  Gtk::StyleContext::add_provider_for_display(Gdk::Display::get_default(), sheet,
                                              GTK_STYLE_PROVIDER_PRIORITY_APPLICATION - 1);
}

void setLabel(Gtk::Accessible& widget, const std::string& text) {
  Glib::Value<Glib::ustring> label;
  label.init(Glib::Value<Glib::ustring>::value_type());
  label.set(text);
  widget.update_property(Gtk::Accessible::Property::LABEL, label);
}

}  // namespace

struct PeopleView::Parts {
  Parts(PeopleView& owner, Roll& people, const Words& language)
      : view(owner), roll(people), words(language) {}

  void build();
  void setUp(const Glib::RefPtr<Gtk::ListItem>& item);
  void bind(const Glib::RefPtr<Gtk::ListItem>& item);
  void unbind(const Glib::RefPtr<Gtk::ListItem>& item);
  void show(PersonRow& row, guint position);
  void minutePasses();
  void follow();
  void drawLine(std::size_t row);
  void drawLines();
  void prepareSearch();
  void settle();
  void searchTyped();
  void showState();
  void showNote();
  void tellSelected();
  void choose(std::size_t row);
  bool keyPressed(guint key, Gdk::ModifierType state);
  void focusRow(std::size_t row);
  void lookAtScreen();
  void tellScreen();
  /// Whether it has the keyboard, or something in it.
  bool isWithin(const Gtk::Widget& widget) const;

  PeopleView& view;
  Roll& roll;
  const Words& words;
  /// By the user's key.
  std::unordered_map<std::uint64_t, PersonRow*> shown;
  Glib::RefPtr<PeopleModel> model;
  Gtk::SearchEntry search;
  Gtk::ScrolledWindow scrolled;
  Gtk::ListView list;
  Gtk::Box message{Gtk::Orientation::VERTICAL};
  Gtk::Label said;
  Gtk::Label reason;
  Gtk::Label note;
  Glib::RefPtr<Gtk::EventControllerKey> keys;
  std::optional<std::string> whyGone;
  /// Whom somebody selected, and the row where that one was.
  std::optional<std::uint64_t> preferred;
  std::size_t place = 0;
  std::size_t lastOnScreen = 0;
  Stillness stillness;  ///< of the rows, but for what somebody does to them
  bool isTyping = false;
  bool isSettling = false;  ///< a selection is nobody's wish
  std::array<sigc::connection, 2> adjusted;
  sigc::connection idle;
  sigc::connection preparing;
  sigc::connection read;
  sigc::connection minutes;
};

PeopleView::PeopleView(Roll& roll, const Words& words)
    : Gtk::Box(Gtk::Orientation::VERTICAL), mParts(std::make_unique<Parts>(*this, roll, words)) {
  mParts->build();
}

PeopleView::~PeopleView() {
  // The toolkit's list may last longer than this, and would tell of its rows as it goes.
  gtk_list_view_set_model(mParts->list.gobj(), nullptr);
  gtk_list_view_set_factory(mParts->list.gobj(), nullptr);
  for (auto& each : mParts->adjusted) each.disconnect();
  mParts->roll.follow({});
  mParts->idle.disconnect();
  mParts->preparing.disconnect();
  mParts->read.disconnect();
  mParts->minutes.disconnect();
}

void PeopleView::Parts::build() {
  useSheet();
  view.add_css_class("people");
  model = Glib::make_refptr_for_instance(new PeopleModel(roll));

  search.add_css_class("people-search");
  search.set_enable_undo(false);  // it would bring back what somebody else typed
  search.set_property("placeholder-text",
                      Glib::ustring(std::string(words.translated("Find a name"))));
  setLabel(search, std::string(words.translated("Find a name")));
  search.signal_changed().connect([this] { searchTyped(); });
  search.signal_activate().connect([this] {
    if (const auto key = model->selected()) {
      if (const auto row = roll.rowOf(*key)) choose(*row);
    }
  });
  view.append(search);

  const auto factory = Gtk::SignalListItemFactory::create();
  factory->signal_setup().connect([this](const auto& item) { setUp(item); });
  factory->signal_bind().connect([this](const auto& item) { bind(item); });
  factory->signal_unbind().connect([this](const auto& item) { unbind(item); });
  list.set_factory(factory);
  list.set_model(model);
  list.add_css_class("people-list");
  setLabel(list, std::string(words.translated("Users")));
  list.signal_activate().connect([this](guint row) { choose(row); });
  model->signal_selection_changed().connect([this](guint first, guint count) {
    for (const auto row : {first, first + 1, first + count - 1, first + count}) drawLine(row);
    tellSelected();
  });

  scrolled.set_child(list);
  scrolled.set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::AUTOMATIC);
  scrolled.set_propagate_natural_height(true);
  scrolled.set_vexpand(true);
  const auto adjustment = scrolled.get_vadjustment();
  adjusted = {adjustment->signal_value_changed().connect([this] { lookAtScreen(); }),
              adjustment->signal_changed().connect([this] { lookAtScreen(); })};

  message.add_css_class("people-message");
  message.set_valign(Gtk::Align::CENTER);
  for (auto* label : {&said, &reason, &note}) {
    label->set_wrap(true);
    label->set_wrap_mode(Pango::WrapMode::WORD_CHAR);
    label->set_max_width_chars(1);
    label->set_hexpand(true);
  }
  for (auto* label : {&said, &reason}) {
    label->set_justify(Gtk::Justification::CENTER);
    message.append(*label);
  }
  reason.add_css_class("people-reason");
  message.set_vexpand(true);
  view.append(scrolled);
  view.append(message);
  note.add_css_class("people-note");
  note.set_xalign(0);
  view.append(note);

  keys = Gtk::EventControllerKey::create();
  keys->set_propagation_phase(Gtk::PropagationPhase::CAPTURE);
  keys->signal_key_pressed().connect(
      [this](guint key, guint, Gdk::ModifierType state) { return keyPressed(key, state); }, false);
  view.add_controller(keys);

  read = Pictures::ofProcess().signalRead().connect([this] {
    for (const auto& [key, row] : shown) {
      if (row->person()->user->picture) row->queue_draw();
    }
  });
  constexpr unsigned kMinute = 60;
  minutes = Glib::signal_timeout().connect_seconds(
      [this] {
        minutePasses();
        return true;
      },
      kMinute);
  follow();
  settle();
}

void PeopleView::Parts::setUp(const Glib::RefPtr<Gtk::ListItem>& item) {
  auto* row = Gtk::make_managed<PersonRow>(words);
  const auto click = Gtk::GestureClick::create();
  auto* listItem = item.get();
  // The list may change between the two, and the row be somebody else's.
  const auto pressed = std::make_shared<std::optional<std::uint64_t>>();
  click->signal_pressed().connect([this, listItem, pressed](int, double, double) {
    const std::size_t position = listItem->get_position();
    const bool isMeant = stillness.isThere(std::chrono::steady_clock::now());
    *pressed =
        isMeant && position < roll.size() ? std::optional(roll.keyAt(position)) : std::nullopt;
  });
  click->signal_released().connect([this, pressed](int, double, double) {
    const auto position = *pressed ? roll.rowOf(**pressed) : std::nullopt;
    if (position) choose(*position);
  });
  row->add_controller(click);
  item->set_child(*row);
}

void PeopleView::Parts::bind(const Glib::RefPtr<Gtk::ListItem>& item) {
  auto* row = dynamic_cast<PersonRow*>(item->get_child());
  const auto position = item->get_position();
  if (row == nullptr || position >= roll.size()) return;
  shown[roll.keyAt(position)] = row;
  show(*row, position);
}

void PeopleView::Parts::unbind(const Glib::RefPtr<Gtk::ListItem>& item) {
  const auto* row = item->get_child();
  std::erase_if(shown, [&](const auto& each) { return each.second == row; });
}

void PeopleView::Parts::show(PersonRow& row, guint position) {
  row.show(roll.at(position));
  drawLine(position);
  // What the list has around the row is what assistive technologies see.
  if (auto* parent = row.get_parent()) setLabel(*parent, row.said());
}

/// At midnight what is today or tomorrow is another day, and hours end.
void PeopleView::Parts::minutePasses() {
  for (const auto& [key, row] : shown) {
    if (!row->isOutOfDate()) continue;
    if (const auto position = roll.rowOf(key)) show(*row, static_cast<guint>(*position));
  }
}

void PeopleView::Parts::follow() {
  roll.follow({.spliced =
                   [this](std::size_t position, std::size_t removed, std::size_t added) {
                     model->spliced(position, removed, added);
                     for (const auto row : {position, position + added}) drawLine(row);
                     // What goes on below the screen moves nothing on it.
                     if (!isTyping && removed + added > 0 && position <= lastOnScreen) {
                       stillness.end(std::chrono::steady_clock::now());
                     }
                     settle();
                     if (!isTyping) prepareSearch();
                   },
               .updated =
                   [this](std::size_t position) {
                     const auto row = shown.find(roll.keyAt(position));
                     if (row != shown.end()) show(*row->second, static_cast<guint>(position));
                     showNote();
                   }});
}

/// Whoever was selected stays so, and whoever stands in the same place comes after one who went.
void PeopleView::Parts::settle() {
  isSettling = true;
  drawLines();
  const auto row = preferred ? roll.rowOf(*preferred) : std::nullopt;
  if (row) {
    place = *row;
    model->select(row);
  } else if (roll.size() == 0) {
    model->select(std::nullopt);
  } else if (const auto other = model->selected(); isTyping || !other || !roll.rowOf(*other)) {
    model->select(isTyping || !preferred ? 0 : std::min(place, roll.size() - 1));
  }
  isSettling = false;
  showState();
  lookAtScreen();
}

/// A row has a line over it, but for the first, the selected one and the one below that.
void PeopleView::Parts::drawLine(std::size_t row) {
  if (row >= roll.size()) return;
  const auto known = shown.find(roll.keyAt(row));
  if (known == shown.end()) return;
  const auto selected = model->selected();
  known->second->setLine(row > 0 && roll.keyAt(row) != selected && roll.keyAt(row - 1) != selected);
}

void PeopleView::Parts::drawLines() {
  for (std::size_t row = 0; row < 2; ++row) drawLine(row);
}

/// While nobody waits for anything: the first key finds it done.
void PeopleView::Parts::prepareSearch() {
  if (preparing.connected()) return;
  preparing =
      Glib::signal_idle().connect([this] { return roll.prepareSearch(200); }, Glib::PRIORITY_LOW);
}

void PeopleView::Parts::searchTyped() {
  // Few who are found leave the room of all: nothing else on the screen moves.
  const bool isSearched = !search.get_text().empty();
  if (isSearched && roll.searched().empty()) view.set_size_request(-1, view.get_height());
  if (!isSearched) view.set_size_request(-1, -1);
  isTyping = true;
  roll.search(search.get_text().raw());
  isTyping = false;
  if (roll.size() > 0) {
    const auto row = model->selected() ? roll.rowOf(*model->selected()) : std::nullopt;
    list.activate_action("list.scroll-to-item",
                         Glib::Variant<guint>::create(static_cast<guint>(row.value_or(0))));
  }
  showState();
}

void PeopleView::Parts::showState() {
  const bool wasInSearch = isWithin(search);
  const bool hasRows = roll.size() > 0;
  std::string text;
  std::string why;
  if (!roll.hasList() && whyGone) {
    text = words.translated("The list of users can't be shown now.");
    why = *whyGone;
  } else if (!roll.hasList() || (!hasRows && roll.awaitsAnswers())) {
    text = words.translated("The list of users is being read…");
  } else if (!hasRows && roll.searched().empty()) {
    text = words.translated("Nobody is shown.");
  } else if (!hasRows) {
    text = withPlace(words.translated("Nobody found for “%s”"), roll.searched());
  }
  said.set_text(text);
  reason.set_text(why);
  reason.set_visible(!why.empty());
  scrolled.set_visible(hasRows);
  message.set_visible(!hasRows);
  search.set_visible(roll.total() > kShortList || !search.get_text().empty());
  // Else the toolkit finds the keyboard a place later, and keys until then are lost.
  if (wasInSearch && !search.get_visible()) view.focusSearch();
  showNote();
}

void PeopleView::Parts::showNote() {
  std::string text;
  bool isRefusal = false;
  const auto person = view.selected();
  if (person && !person->admission.sentence.empty()) {
    text = person->admission.sentence;
    isRefusal = person->admission.state == Admission::State::MayNotLogIn;
  } else if (roll.hasList() && whyGone) {
    text = words.translated("The list may be out of date: the service behind it doesn't answer.");
  }
  note.set_text(text);
  note.set_visible(!text.empty());
  if (isRefusal) {
    note.add_css_class("refused");
  } else {
    note.remove_css_class("refused");
  }
}

void PeopleView::Parts::tellSelected() {
  const auto key = model->selected();
  if (!isSettling) preferred = key;
  if (const auto row = key ? roll.rowOf(*key) : std::nullopt) place = *row;
  showNote();
}

void PeopleView::Parts::choose(std::size_t row) {
  if (row >= roll.size()) return;
  model->select(row);
  const auto person = roll.at(row);
  view.mChosen.emit(person);
}

bool PeopleView::Parts::isWithin(const Gtk::Widget& widget) const {
  auto* root = view.get_root();
  auto* focus = root != nullptr ? root->get_focus() : nullptr;
  return focus != nullptr &&
         (focus == &widget || focus->is_ancestor(const_cast<Gtk::Widget&>(widget)));
}

bool PeopleView::Parts::keyPressed(guint key, Gdk::ModifierType state) {
  const auto commands =
      Gdk::ModifierType::CONTROL_MASK | Gdk::ModifierType::ALT_MASK | Gdk::ModifierType::SUPER_MASK;
  if ((state & commands) != Gdk::ModifierType{}) return false;
  const auto selected = model->selected();
  const auto row = selected ? roll.rowOf(*selected) : std::nullopt;
  if (!isWithin(list)) {
    // From the field into the list: to who stands behind the one who is marked already.
    const bool isDown = key == GDK_KEY_Down || key == GDK_KEY_KP_Down;
    const bool isPage = key == GDK_KEY_Page_Down || key == GDK_KEY_KP_Page_Down;
    if (row && (isDown || isPage)) {
      focusRow(isPage ? *row : std::min(*row + 1, roll.size() - 1));
      return true;
    }
    if (key == GDK_KEY_Escape && !search.get_text().empty()) {
      view.clear();
      return true;
    }
    return false;
  }
  const bool isFirst = selected && roll.size() > 0 && roll.keyAt(0) == *selected;
  if ((key == GDK_KEY_Up || key == GDK_KEY_KP_Up) && isFirst && search.get_visible()) {
    view.focusSearch();
    return true;
  }
  if (key == GDK_KEY_Escape && !search.get_text().empty()) {
    view.clear();
    view.focusSearch();
    return true;
  }
  const auto character = gdk_keyval_to_unicode(key);
  const bool isErasing = key == GDK_KEY_BackSpace && !search.get_text().empty();
  if (!isErasing && (character <= U' ' || g_unichar_isprint(character) == FALSE)) return false;
  search.set_visible(true);
  search.grab_focus();
  search.set_position(-1);
  auto* root = view.get_root();
  auto* field = root != nullptr ? root->get_focus() : nullptr;
  return field != nullptr && keys->forward(*field);
}

void PeopleView::Parts::focusRow(std::size_t row) {
  if (row >= roll.size()) return;
  preferred = roll.keyAt(row);
  model->select(row);
  list.activate_action("list.scroll-to-item",
                       Glib::Variant<guint>::create(static_cast<guint>(row)));
  const auto known = shown.find(roll.keyAt(row));
  if (known == shown.end()) return;
  if (auto* parent = known->second->get_parent()) parent->grab_focus();
}

void PeopleView::Parts::lookAtScreen() {
  if (idle.connected()) return;
  idle = Glib::signal_idle().connect([this] {
    tellScreen();
    return false;
  });
}

void PeopleView::Parts::tellScreen() {
  // Whatever the list had before, rows are as high as those that it has.
  const auto* row = shown.empty() ? nullptr : shown.begin()->second->get_parent();
  if (roll.size() == 0 || row == nullptr || row->get_height() < 1) return;
  const double height = row->get_height();
  const auto adjustment = scrolled.get_vadjustment();
  const auto first = static_cast<std::size_t>(std::max(0.0, adjustment->get_value() / height));
  const auto last = static_cast<std::size_t>(
      (adjustment->get_value() + std::max(0.0, adjustment->get_page_size() - 1)) / height);
  lastOnScreen = std::min(last, roll.size() - 1);
  view.mOnScreen.emit(std::min(first, roll.size() - 1), lastOnScreen);
}

void PeopleView::gone(const std::string& why) {
  mParts->whyGone = why;
  mParts->showState();
}

void PeopleView::back() {
  mParts->whyGone.reset();
  mParts->showState();
}

std::optional<Person> PeopleView::selected() const {
  const auto key = mParts->model->selected();
  return key ? mParts->roll.find(*key) : std::nullopt;
}

bool PeopleView::select(const std::string& shortName) {
  const auto& roll = mParts->roll;
  for (std::size_t row = 0; row < roll.size(); ++row) {
    if (roll.at(row).user->shortName != shortName) continue;
    mParts->preferred = roll.keyAt(row);
    mParts->model->select(row);
    mParts->list.activate_action("list.scroll-to-item",
                                 Glib::Variant<guint>::create(static_cast<guint>(row)));
    return true;
  }
  return false;
}

void PeopleView::clear() { mParts->search.set_text(""); }

void PeopleView::focusSearch() {
  if (mParts->search.get_visible()) {
    mParts->search.grab_focus();
    mParts->search.set_position(-1);
    return;
  }
  const auto key = mParts->model->selected();
  if (const auto row = key ? mParts->roll.rowOf(*key) : std::nullopt) mParts->focusRow(*row);
}

}  // namespace gatehall
