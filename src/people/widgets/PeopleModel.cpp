#include "people/widgets/PeopleModel.h"

#include <algorithm>

namespace gatehall {

namespace {

guint count(std::size_t number) { return static_cast<guint>(number); }

}  // namespace

PersonItem::PersonItem(std::uint64_t key, const std::shared_ptr<Items>& items)
    : Glib::ObjectBase("GatehallPersonItem"), Glib::Object(), mKey(key), mItems(items) {
  items->emplace(key, this);
}

PersonItem::~PersonItem() {
  if (const auto items = mItems.lock()) items->erase(mKey);
}

PeopleModel::PeopleModel(const Roll& roll)
    : Glib::ObjectBase("GatehallPeopleModel"),
      Gio::ListModel(),
      Gtk::SelectionModel(),
      Glib::Object(),
      mRoll(roll) {}

void PeopleModel::spliced(std::size_t position, std::size_t removed, std::size_t added) {
  items_changed(count(position), count(removed), count(added));
}

void PeopleModel::select(std::optional<std::size_t> row) {
  const auto key = row && *row < mRoll.size() ? std::optional(mRoll.keyAt(*row)) : std::nullopt;
  if (key == mSelected) return;
  const auto before = mSelected ? mRoll.rowOf(*mSelected) : std::nullopt;
  mSelected = key;
  const auto first = std::min(before.value_or(row.value_or(0)), row.value_or(before.value_or(0)));
  const auto last = std::max(before.value_or(0), row.value_or(0));
  if (first < mRoll.size()) selection_changed(count(first), count(last - first + 1));
}

GType PeopleModel::get_item_type_vfunc() { return G_TYPE_OBJECT; }

guint PeopleModel::get_n_items_vfunc() { return count(mRoll.size()); }

gpointer PeopleModel::get_item_vfunc(guint position) {
  if (position >= mRoll.size()) return nullptr;
  const auto key = mRoll.keyAt(position);
  const auto known = mItems->find(key);
  if (known != mItems->end()) return known->second->gobj_copy();
  return Glib::make_refptr_for_instance(new PersonItem(key, mItems))->gobj_copy();
}

bool PeopleModel::is_selected_vfunc(guint position) const {
  return mSelected && position < mRoll.size() && mRoll.keyAt(position) == *mSelected;
}

Glib::RefPtr<const Gtk::Bitset> PeopleModel::get_selection_vfunc(guint /*position*/,
                                                                 guint /*count*/) {
  const auto selection = Gtk::Bitset::create();
  if (const auto row = mSelected ? mRoll.rowOf(*mSelected) : std::nullopt) {
    selection->add(gatehall::count(*row));
  }
  return selection;
}

bool PeopleModel::select_item_vfunc(guint position, bool /*unselectsRest*/) {
  select(position);
  return true;
}

}  // namespace gatehall
