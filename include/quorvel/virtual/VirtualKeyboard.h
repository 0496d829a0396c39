#pragma once

#include <QPointer>
#include <QString>
#include <QWindow>

#include "quorvel/Export.h"

namespace quorvel {

// A hardware keyboard on a window: each key travels Qt's window-system input path, press then
// release, and reaches the window's focused item as a person's typing does. Keys arrive on a
// later turn of the event loop, in the order they were pressed.
class QUORVEL_EXPORT VirtualKeyboard {
 public:
  explicit VirtualKeyboard(QWindow* window);

  // One key per character, with the character as the key's text (Shift for capitals).
  void type(const QString& text);
  // A key without a character of its own: Return, Backspace, Tab, Escape, arrows ...
  void pressKey(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);

 private:
  void press(int key, Qt::KeyboardModifiers modifiers, const QString& text);

  QPointer<QWindow> window_;
};

}  // namespace quorvel
