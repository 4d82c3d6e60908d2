#pragma once

#include <glibmm/refptr.h>

namespace Gtk {
class CssProvider;
}

namespace gatehall {

/// The colours and the size of everything that the process shows, whatever theme the machine has:
/// the names gh_… in the style sheets of the programs. Made when a display is open; on its thread.
/// One at a time.
class Look {
 public:
  enum class Palette { Light, Dark };

  /// On a screen without a session.
  Look(Palette palette, bool hasHighContrast, bool hasLargeText);
  /// In somebody's session: with its font, its size of texts, and its high contrast where its theme
  /// is one of that name.
  Look();
  ~Look();
  Look(const Look&) = delete;
  Look& operator=(const Look&) = delete;

  void setHighContrast(bool isHigh);
  bool hasHighContrast() const { return mHasHighContrast; }

  /// Rules that come after all others, but in high contrast, which they could spoil.
  void setOwnRules(const Glib::RefPtr<Gtk::CssProvider>& rules);

  /// Half as large again. For sizes in em and pt, which all texts have.
  void setLargeText(bool isLarge);
  bool hasLargeText() const { return mHasLargeText; }

  /// As GTK is set up for the machine (gtk-application-prefer-dark-theme).
  static Palette ofMachine();

  /// How large texts are now, of their usual size.
  static double textScale();

 private:
  void begin();
  void showColours();
  void showTextSize() const;
  void showOwnRules();

  const Palette mPalette;
  bool mHasHighContrast;
  bool mHasLargeText;
  Glib::RefPtr<Gtk::CssProvider> mColours;
  Glib::RefPtr<Gtk::CssProvider> mOwnRules;
};

}  // namespace gatehall
