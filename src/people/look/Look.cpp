#include "people/look/Look.h"

#include <gtkmm.h>

#include "people/look/Sheets.h"

namespace gatehall {

namespace {

/// Of the settings, in 1024ths of a dot an inch.
constexpr int kUsualText = 96 * 1024;
constexpr int kLargeText = kUsualText * 3 / 2;

Glib::RefPtr<Gtk::Settings> settings() { return Gtk::Settings::get_default(); }

/// Desktops call such themes HighContrast, HighContrastInverse, ContrastHigh.
bool isOfHighContrast(const Glib::ustring& theme) {
  return theme.find("Contrast") != Glib::ustring::npos;
}

}  // namespace

Look::Look(Palette palette, bool hasHighContrast, bool hasLargeText)
    : mPalette(palette),
      mHasHighContrast(hasHighContrast),
      mHasLargeText(hasLargeText),
      mColours(Gtk::CssProvider::create()) {
  settings()->property_gtk_font_name() = "Cantarell, Sans 11";
  showTextSize();
  begin();
}

Look::Look()
    : mPalette(ofMachine()),
      mHasHighContrast(isOfHighContrast(settings()->property_gtk_theme_name())),
      mHasLargeText(false),
      mColours(Gtk::CssProvider::create()) {
  begin();
}

void Look::begin() {
  settings()->property_gtk_theme_name() = "Default";  // which stands in the toolkit
  settings()->property_gtk_enable_animations() = false;
  Gtk::StyleContext::add_provider_for_display(Gdk::Display::get_default(), mColours,
                                              GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
  showColours();
}

Look::~Look() {
  const auto display = Gdk::Display::get_default();
  Gtk::StyleContext::remove_provider_for_display(display, mColours);
  if (mOwnRules) Gtk::StyleContext::remove_provider_for_display(display, mOwnRules);
}

void Look::setHighContrast(bool isHigh) {
  mHasHighContrast = isHigh;
  showColours();
  showOwnRules();
}

void Look::setOwnRules(const Glib::RefPtr<Gtk::CssProvider>& rules) {
  mOwnRules = rules;
  showOwnRules();
}

void Look::setLargeText(bool isLarge) {
  mHasLargeText = isLarge;
  showTextSize();
}

Look::Palette Look::ofMachine() {
  return settings()->property_gtk_application_prefer_dark_theme() ? Palette::Dark : Palette::Light;
}

double Look::textScale() {
  const int dots = settings()->property_gtk_xft_dpi();
  return dots > 0 ? static_cast<double>(dots) / kUsualText : 1;  // -1 where nothing says
}

void Look::showColours() {
  const bool isDark = mHasHighContrast || mPalette == Palette::Dark;
  settings()->property_gtk_application_prefer_dark_theme() = isDark;
  mColours->load_from_data(mHasHighContrast            ? kContrastSheet
                           : mPalette == Palette::Dark ? kDarkSheet
                                                       : kLightSheet);
}

void Look::showTextSize() const {
  settings()->property_gtk_xft_dpi() = mHasLargeText ? kLargeText : kUsualText;
}

void Look::showOwnRules() {
  if (!mOwnRules) return;
  const auto display = Gdk::Display::get_default();
  Gtk::StyleContext::remove_provider_for_display(display, mOwnRules);
  if (mHasHighContrast) return;
  Gtk::StyleContext::add_provider_for_display(display, mOwnRules, GTK_STYLE_PROVIDER_PRIORITY_USER);
}

}  // namespace gatehall
