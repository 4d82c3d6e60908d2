#pragma once

#include <gtkmm/drawingarea.h>

namespace gatehall::greeter {

/// A small picture that is drawn in the colour of the text around it: no set of icons has to be
/// installed. To a screen reader it is nothing; what it stands beside or in has a label.
class Symbol : public Gtk::DrawingArea {
 public:
  enum class Shape { Power, Access, Language, Keyboard, Session, Person, Check, Warning, Down };

  /// Of that many pixels, both ways, where the text has its usual size. It grows with the text.
  Symbol(Shape shape, int size);

 protected:
  void measure_vfunc(Gtk::Orientation orientation, int forSize, int& minimum, int& natural,
                     int& minimumBaseline, int& naturalBaseline) const override;

 private:
  void draw(const Cairo::RefPtr<Cairo::Context>& context, int width, int height);

  const Shape mShape;
  const int mSize;
};

}  // namespace gatehall::greeter
