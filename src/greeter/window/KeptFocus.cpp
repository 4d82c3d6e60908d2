#include "greeter/window/KeptFocus.h"

#include <gtkmm.h>
#include <memory>

namespace gatehall::greeter {

void KeptFocus::keep(Gtk::Widget& place) {
  auto* const root = place.get_root();
  auto* const focus = root != nullptr ? root->get_focus() : nullptr;
  g_weak_ref_set(&mWidget, focus != nullptr ? focus->gobj() : nullptr);
}

bool KeptFocus::giveBack() {
  const std::unique_ptr<void, decltype(&g_object_unref)> object(g_weak_ref_get(&mWidget),
                                                                g_object_unref);
  if (!object) return false;
  auto* const widget = static_cast<GtkWidget*>(object.get());
  if (gtk_widget_get_root(widget) == nullptr || gtk_widget_is_visible(widget) == FALSE)
    return false;
  if (GTK_IS_TEXT(widget) != FALSE) {
    gtk_text_grab_focus_without_selecting(GTK_TEXT(widget));
  } else {
    gtk_widget_grab_focus(widget);
  }
  return true;
}

}  // namespace gatehall::greeter
