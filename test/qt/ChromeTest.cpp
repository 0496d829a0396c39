// The window's chrome. In the front end's own window, the loading overlay over a real run's upload
// and the alert a failed upload raises. For a QML host with its own engine and window, SDK runs
// inside its own scene: in the SdkView it placed under a header of its own, or on the StackView it
// handed over, with alerts and the loading overlay covering only the SDK's part of the scene.
#include <QQmlApplicationEngine>

#include "QuickFixture.h"
#include "backend/AssetUploaderWebService.h"
#include "quorvel/quick/ViewControllerBridge.h"
#include "quorvel/ui/AlertController.h"
#include "quorvel/ui/LoadingView.h"
#include "support/ScriptedHttpServer.h"

namespace quorvel::testing {
namespace {

const QColor kHeader("#E4572E");
const QColor kHostBackground("#1B2A3A");
const QColor kHostPage("#2E86AB");

class HostSceneFixture : public QuickFixture {
 protected:
  virtual QUrl scene() const = 0;

  // The host's own engine and window, readied for the SDK as a host does it.
  void present() override {
    engine = std::make_unique<QQmlApplicationEngine>();
    frontEnd->addToEngine(*engine);
    engine->load(scene());
    ASSERT_EQ(engine->rootObjects().size(), 1);
    hostWindow = qobject_cast<QQuickWindow*>(engine->rootObjects().front());
    ASSERT_NE(hostWindow, nullptr);
  }
  void TearDown() override {
    // The host's scene goes before the front end, as a host's would.
    engine.reset();
    QuickFixture::TearDown();
  }

  QRect chromeRect(const QString& name) {
    EXPECT_NE(chrome(name), nullptr) << name.toStdString();
    return sceneRect(chrome(name));
  }
  QColor pixel(const QImage& image, QPoint at) {
    return image.pixelColor(at * (image.width() / qreal(hostWindow->width())));
  }
  // Starts a run of the slide test; where the SDK's part of the scene, chrome element part, lies.
  QRect startIn(const QString& part) {
    hostNavigation->setNavigationBarHidden(true, false);
    start(std::vector<std::string>{"multi_touch_v2"}, "490154203237518");
    settle("StartViewController");
    return chromeRect(part);
  }
  // The loading overlay covers the SDK's part of the scene alone and dims the screen beneath.
  void expectOverlayOver(const QRect& part, const std::string& screenshot) {
    auto loading = std::make_shared<LoadingView>();
    loading->show(frontEnd->coreWindow());
    ASSERT_TRUE(waitFor([&] { return chrome("loadingOverlay")->isVisible(); }));
    EXPECT_EQ(chromeRect("loadingOverlay"), part);
    EXPECT_LT(pixel(grab(screenshot), QPoint(part.right() - 4, part.top() + 4)).lightness(), 200);
    loading->removeFromWindow();
    ASSERT_TRUE(waitFor([&] { return !chrome("loadingOverlay")->isVisible(); }));
  }

  std::unique_ptr<QQmlApplicationEngine> engine;
  QQuickWindow* hostWindow = nullptr;
};

class HostSceneTest : public HostSceneFixture {
 protected:
  QUrl scene() const override { return QUrl("qrc:/quorvel-tests/HostScene.qml"); }
};

TEST_F(HostSceneTest, StartScreenRunsInsideTheHostsItemUnderItsOwnHeader) {
  // The SDK draws into the host's window and makes none of its own.
  EXPECT_EQ(frontEnd->window(), hostWindow);
  EXPECT_EQ(visibleWindows(), 1);

  const QRect view = startIn("hostSdkView");
  EXPECT_EQ(sceneRect(frontEnd->topScreenItem()), view);
  EXPECT_GE(view.top(), chromeRect("hostHeader").bottom());

  // The host's header and margin and the SDK's screen all reach the pixels.
  const QImage image = grab("host-scene-start-screen");
  EXPECT_TRUE(near(pixel(image, QPoint(6, chromeRect("hostHeader").center().y())), kHeader));
  EXPECT_TRUE(near(pixel(image, QPoint(view.left() - 6, view.center().y())), kHostBackground));
  EXPECT_TRUE(near(pixel(image, QPoint(view.right() - 4, view.top() + 4)), Qt::white));
  EXPECT_TRUE(
      near(colorAt("uiBtNext", QPointF(-120, 0)), qColor(Customization::defaultThemeColor())));

  expectOverlayOver(view, "host-scene-overlay");

  // So does an alert, answered through its button in the host's window.
  bool answered = false;
  auto alert = AlertController::make("Host scene", "Drawn inside the host's item");
  alert->addAction({"OK", AlertActionStyle::standard, [&] { answered = true; }});
  frontEnd->topViewController()->present(alert, false);
  ASSERT_TRUE(waitFor([&] { return frontEnd->findItem("action0") != nullptr; }));
  EXPECT_EQ(chromeRect("alert"), view);
  EXPECT_EQ(textOf("alertTitle"), "Host scene");
  tap("action0");
  ASSERT_TRUE(waitFor([&] { return answered && !frontEnd->alert(); }));

  // Back ends the run (with the status the core gives a cancel) and leaves the host's page.
  tap("uiBtBack");
  ASSERT_TRUE(waitFor([&] { return completions == 1; }));
  settle("HostTestPage");
}

class HandedOverStackTest : public HostSceneFixture {
 protected:
  QUrl scene() const override { return QUrl("qrc:/quorvel-tests/HostStackScene.qml"); }

  int depth() { return chrome("hostStack")->property("depth").toInt(); }
  QQuickItem* bottomPage() {
    QQuickItem* page = nullptr;
    QMetaObject::invokeMethod(chrome("hostStack"), "get", Q_RETURN_ARG(QQuickItem*, page),
                              Q_ARG(int, 0));
    return page;
  }
};

TEST_F(HandedOverStackTest, ScreensGoAboveTheHostsOwnPagesAndLeaveThemThere) {
  // The host's own page, then the core's root page.
  EXPECT_EQ(depth(), 2);
  const QRect stack = startIn("hostStack");
  EXPECT_EQ(depth(), 3);
  EXPECT_TRUE(
      near(pixel(grab("host-stack-start-screen"), QPoint(stack.right() - 4, stack.top() + 4)),
           Qt::white));
  expectOverlayOver(stack, "host-stack-overlay");

  tap("uiBtBack");
  settle("HostTestPage");
  EXPECT_EQ(depth(), 2);
  ASSERT_NE(bottomPage(), nullptr);
  EXPECT_EQ(bottomPage()->objectName(), "hostOwnPage");
  // Popping the core's page too shows the host's own page again.
  hostNavigation->setViewControllers({}, false);
  ASSERT_TRUE(waitFor([&] { return depth() == 1; }));
  QTest::qWait(50);
  EXPECT_TRUE(near(pixel(grab("host-stack-own-page"), stack.center()), kHostPage));
}

// The window's chrome around a real run: the loading overlay over an upload, and the alert that
// a failed upload raises, answered through its buttons.
class RunChromeTest : public QuickFixture {
 protected:
  void TearDown() override {
    AssetUploaderWebService::timeoutInterval = std::chrono::seconds(60);
    QuickFixture::TearDown();
  }

  bool alertShown() { return frontEnd->alert() && frontEnd->findItem("action0"); }
};

TEST_F(RunChromeTest, OverlayCoversAStalledUploadAndTheAlertAnswersThroughItsButtons) {
  ScriptedHttpServer server;
  server.script({ScriptedHttpServer::Reply::stall()});
  useAssetsHost(server.origin());
  AssetUploaderWebService::timeoutInterval = std::chrono::milliseconds(1500);
  // The end screen of a run of the slide test, given up.
  sdk.hideStartScreen = true;
  start(std::vector<std::string>{"multi_touch_v2"}, "490154203237518");
  settle("MultiTouch_v2_ViewController");
  tap("uiBtCouldntCompleteTest");
  settle("TestsFinishedViewController");

  tap("uiBtDone");
  ASSERT_TRUE(
      waitFor([&] { return chrome("loadingOverlay") && chrome("loadingOverlay")->isVisible(); }));
  EXPECT_EQ(sceneRect(chrome("loadingOverlay")), QRect(QPoint(), frontEnd->window()->size()));
  // The end screen's white shows dimmed everywhere, corners included.
  const QImage covered = grab("overlay-during-upload");
  for (QPoint at : {QPoint(2, 2), QPoint(covered.width() - 3, covered.height() - 3)}) {
    EXPECT_LT(covered.pixelColor(at).lightness(), 160) << at.x() << "," << at.y();
  }
  // Touches do not reach the screen beneath: a second Finish sends nothing.
  tap("uiBtDone");

  // The alert comes up over the overlay, which stays until the alert is answered.
  ASSERT_TRUE(waitFor([&] { return alertShown(); }));
  EXPECT_TRUE(chrome("loadingOverlay")->isVisible());
  // Drawn as the core holds it (an alert's title is drawn in HostSceneTest).
  auto alert = std::dynamic_pointer_cast<AlertController>(frontEnd->alert()->controller());
  ASSERT_TRUE(alert && alert->actions().size() == 2);
  EXPECT_EQ(textOf("alertMessage").toStdString(), alert->message());
  EXPECT_EQ(textOf("action0").toStdString(), alert->actions()[0].title);
  EXPECT_EQ(textOf("action1").toStdString(), alert->actions()[1].title);
  EXPECT_EQ(server.requests().size(), 1u);
  grab("alert-upload-failed");

  // OK keeps the run open (what the run does then is RunFlowTest's); the overlay goes.
  tap("action0");
  ASSERT_TRUE(waitFor([&] { return !frontEnd->alert(); }));
  EXPECT_TRUE(waitFor([&] { return !chrome("loadingOverlay")->isVisible(); }));

  // Try later ends it with 406.
  tap("uiBtDone");
  ASSERT_TRUE(waitFor([&] { return alertShown(); }));
  tap("action1");
  ASSERT_TRUE(waitFor([&] { return completions == 1; }));
  EXPECT_EQ(response->value("status_code", 0), 406);
  EXPECT_TRUE(waitFor([&] { return topInterface() == "HostTestPage"; }));
}

}  // namespace
}  // namespace quorvel::testing
