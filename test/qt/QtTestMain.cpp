#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QRegularExpression>

// Qt, fontconfig and items that QML owns until the process ends are still allocated at exit, which
// LeakSanitizer would report on every test; the rest of the sanitizers stay on. Freed memory is
// filled, so that libraries without instrumentation that read it after the free (Qt's GStreamer
// player does) fail at once rather than on a loaded machine. Visible, so that the sanitizer's
// runtime finds it in a build whose symbols are hidden by default.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options() {
  return "detect_leaks=0:max_free_fill_size=4096:free_fill_byte=165";
}

namespace {

QtMessageHandler qtDefault = nullptr;

// A binding of the SDK's QML that reads an outlet or property the core does not have is an error
// QML only logs; here it fails the test that showed the screen.
void failOnQmlErrors(QtMsgType type, const QMessageLogContext& context, const QString& message) {
  static const QRegularExpression qmlError(
      "qrc:/Quorvel/.*\\.qml:\\d+(:\\d+)?: (TypeError|ReferenceError|Error)");
  if (type != QtDebugMsg && type != QtInfoMsg && qmlError.match(message).hasMatch()) {
    ADD_FAILURE() << message.toStdString();
  }
  qtDefault(type, context, message);
}

}  // namespace

int main(int argc, char** argv) {
  // Offscreen unless told otherwise: the suite must run without a display.
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  // Nor the machine's system bus: the default platform's battery and carriers would read it.
  qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/quorvel-tests-have-no-system-bus");
  qtDefault = qInstallMessageHandler(failOnQmlErrors);
  QGuiApplication application(argc, argv);
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
