#pragma once

#include <gtest/gtest.h>

#include <QColor>
#include <QImage>
#include <QQuickItem>
#include <QTest>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "quorvel/QuorvelSDK.h"
#include "quorvel/ScreenType.h"
#include "quorvel/quick/QuickFrontEnd.h"
#include "quorvel/ui/NavigationController.h"
#include "quorvel/virtual/VirtualMirrorCamera.h"
#include "support/ScriptedDevice.h"
#include "support/TemporaryTree.h"
#include "tests/physical/MultipleTests_v2_ViewController.h"
#include "widgets/ScreenContext.h"

QT_BEGIN_NAMESPACE
// Readable QString values in test failures.
inline void PrintTo(const QString& text, std::ostream* out) {
  *out << '"' << text.toStdString() << '"';
}
QT_END_NAMESPACE

namespace quorvel::testing {

QColor qColor(const Color& color);
bool near(const QColor& a, const QColor& b, int tolerance = 8);
// The first item under root (root included), depth first, for which holds is true.
QQuickItem* findFirst(QQuickItem* root, const std::function<bool(QQuickItem*)>& holds);
// The first item under root (root included) with the object name.
QQuickItem* findNamed(QQuickItem* root, const QString& name);
// How many points of area, every step-th along each axis, counts is true of.
int countPoints(const QRect& area, const std::function<bool(int x, int y)>& counts, int step = 1);
// How many top-level windows are on show.
int visibleWindows();

// The Qt front end in an offscreen phone-sized window (or a host's scene), installed as the
// platform with a scripted device (unplugged, so that the charging screens wait on any machine), a
// host navigation stack to take over and a fresh documents folder.
class QuickFixture : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;
  // Puts an SdkView on screen: the front end's ready-made window unless a test has its own scene.
  virtual void present();

  // Starts a run with the given tests and identifiers; the completion lands in response.
  void start(std::optional<std::vector<std::string>> tests, std::optional<std::string> imei,
             std::optional<std::string> serial = std::nullopt);

  // What a screen made by a test reads of its run: the SDK's language and theme, the fixture's
  // customization, and key's place in a run of the given screens (just key when empty).
  ScreenContext contextFor(const std::string& key, std::vector<std::string> run = {}) const;

  // One screen pushed on the host's stack as the only screen of a run (key), without a run.
  template <class Screen>
  std::shared_ptr<Screen> show(const std::string& key) {
    return show(std::make_shared<Screen>(contextFor(key)));
  }
  // A screen set up beforehand (made with contextFor), pushed on the host's stack.
  template <class Screen>
  std::shared_ptr<Screen> show(std::shared_ptr<Screen> screen) {
    hostNavigation->setNavigationBarHidden(true, false);
    hostNavigation->pushViewController(screen, false);
    settle(screen->interfaceName());
    return screen;
  }

  // The combined screen of the charging and volume-key tests, pushed on the host's stack.
  std::shared_ptr<MultipleTests_v2_ViewController> showCombined();

  // The machine's camera, speaker and microphone replaced by a virtual room's: a mirror camera
  // filming the fixture's window, a speaker and a recorder in the room.
  void useVirtualRoom();

  // Uploads go to origin ("http://127.0.0.1:PORT") in every environment.
  void useAssetsHost(const std::string& origin);
  // An element of the window's chrome (the loading overlay, the stack) by object name.
  QQuickItem* chrome(const QString& name) const;

  // Processes events until done() holds; false after timeoutMs.
  bool waitFor(const std::function<bool()>& done, int timeoutMs = 10000);
  // Waits until interfaceName is the settled top screen and its frame is drawn.
  void settle(const std::string& interfaceName);
  std::string topInterface() const;

  // The item of the outlet (or chrome element) named name; fails the test when none is shown.
  QQuickItem* item(const QString& name) const;
  QPoint centerOf(const QString& name) const;
  void tap(const QString& name);
  // The text an outlet item shows (its first text-bearing descendant).
  QString textOf(const QString& name) const;
  // The names of the top screen's outlets on show.
  std::vector<std::string> shownOutlets() const;
  // Every outlet on show that holds text (and every table row) draws the core's text, and the top
  // screen shows some.
  void expectCoreCopy();
  QImage grab(const std::string& screenshotName = "");
  // The item's rectangle in the window's scene.
  QRect sceneRect(QQuickItem* target) const;
  // The colour drawn at the centre of item name.
  QColor colorAt(const QString& name, QPointF offset = {});
  // Every colour the SDK's interface draws on the top screen was set by the core: the interfaces
  // have no colours of their own to fall back on, so an unset one draws nothing.
  void expectCoreColours();

  QuorvelSDK& sdk = QuorvelSDK::shared();
  // The host's customization for screens the test makes; defaults when null.
  std::shared_ptr<Customization> customization;
  std::unique_ptr<QuickFrontEnd> frontEnd;
  std::shared_ptr<NavigationController> hostNavigation;
  std::unique_ptr<TemporaryTree> documents;
  std::shared_ptr<ScriptedDevice> device;
  std::optional<Dictionary> response;
  int completions = 0;
};

}  // namespace quorvel::testing
