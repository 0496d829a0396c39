#include "quorvel/virtual/VirtualKeyboard.h"

#include <qpa/qwindowsysteminterface.h>

#include "quorvel/Fatal.h"

namespace quorvel {

namespace {

// The text a keyboard sends along with keys that have no printable character.
QString controlText(Qt::Key key) {
  switch (key) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
      return QStringLiteral("\r");
    case Qt::Key_Backspace:
      return QStringLiteral("\b");
    case Qt::Key_Tab:
      return QStringLiteral("\t");
    case Qt::Key_Escape:
      return QStringLiteral("\x1b");
    case Qt::Key_Delete:
      return QStringLiteral("\x7f");
    default:
      return {};
  }
}

}  // namespace

VirtualKeyboard::VirtualKeyboard(QWindow* window) : window_(window) {
  if (!window) QUORVEL_FATAL("a virtual keyboard needs a window");
}

void VirtualKeyboard::type(const QString& text) {
  for (char32_t character : text.toUcs4()) {
    const QString each = QString::fromUcs4(&character, 1);
    if (character == '\n' || character == '\r') {
      pressKey(Qt::Key_Return);
      continue;
    }
    if (character == '\t') {
      pressKey(Qt::Key_Tab);
      continue;
    }
    // Qt's key codes for ASCII are the upper-case characters themselves (Key_A is 'A'); other
    // characters come as text only, as from an input method.
    int key = Qt::Key_unknown;
    Qt::KeyboardModifiers modifiers = Qt::NoModifier;
    if (character < 0x80) {
      const QChar ascii{char16_t(character)};
      key = ascii.toUpper().unicode();
      if (ascii.isUpper()) modifiers = Qt::ShiftModifier;
    }
    press(key, modifiers, each);
  }
}

void VirtualKeyboard::pressKey(Qt::Key key, Qt::KeyboardModifiers modifiers) {
  press(key, modifiers, controlText(key));
}

void VirtualKeyboard::press(int key, Qt::KeyboardModifiers modifiers, const QString& text) {
  // A window that closed has no keys to press.
  if (!window_) return;
  QWindowSystemInterface::handleKeyEvent(window_, QEvent::KeyPress, key, modifiers, text);
  QWindowSystemInterface::handleKeyEvent(window_, QEvent::KeyRelease, key, modifiers, text);
}

}  // namespace quorvel
