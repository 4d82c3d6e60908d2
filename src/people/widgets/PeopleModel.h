#pragma once

#include <cstdint>
#include <gtkmm.h>
#include <memory>
#include <optional>
#include <unordered_map>

#include "people/Roll.h"

namespace gatehall {

/// What stands in a row for GTK: the key of a user.
class PersonItem : public Glib::Object {
 public:
  /// Those that somebody holds.
  using Items = std::unordered_map<std::uint64_t, PersonItem*>;

  PersonItem(std::uint64_t key, const std::shared_ptr<Items>& items);
  ~PersonItem() override;

  std::uint64_t key() const { return mKey; }

 private:
  const std::uint64_t mKey;
  const std::weak_ptr<Items> mItems;
};

/// A roll as GTK's lists want one, with the one row that is selected. Items are made as they are
/// asked for; one user's stays the same while somebody holds it, so that a row that moves is known
/// again. Whoever follows the roll tells the model what became of it. On GTK's thread.
class PeopleModel : public Gio::ListModel, public Gtk::SelectionModel, public Glib::Object {
 public:
  explicit PeopleModel(const Roll& roll);

  /// As Roll::Follower.
  void spliced(std::size_t position, std::size_t removed, std::size_t added);

  std::optional<std::uint64_t> selected() const { return mSelected; }
  /// Selects the row's user; absent: nobody.
  void select(std::optional<std::size_t> row);

 protected:
  GType get_item_type_vfunc() override;
  guint get_n_items_vfunc() override;
  gpointer get_item_vfunc(guint position) override;

  bool is_selected_vfunc(guint position) const override;
  Glib::RefPtr<const Gtk::Bitset> get_selection_vfunc(guint position, guint count) override;
  bool select_item_vfunc(guint position, bool unselectsRest) override;

 private:
  const Roll& mRoll;
  std::optional<std::uint64_t> mSelected{};
  const std::shared_ptr<PersonItem::Items> mItems = std::make_shared<PersonItem::Items>();
};

}  // namespace gatehall
