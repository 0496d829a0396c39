#include <QTest>

#include "QuickFixture.h"
#include "backend/AssetUploaderWebService.h"
#include "quorvel/quick/ViewControllerBridge.h"
#include "quorvel/ui/AlertController.h"
#include "support/ScriptedHttpServer.h"

namespace quorvel::testing {
namespace {

// The window's chrome around a real run: the loading overlay over an upload, and the alert that
// a failed upload raises, answered through its buttons.
class RunChromeTest : public QuickFixture {
 protected:
  void TearDown() override {
    AssetUploaderWebService::timeoutInterval = std::chrono::seconds(60);
    QuickFixture::TearDown();
  }

  void reachEndScreen() {
    sdk.hideStartScreen = true;
    start(std::vector<std::string>{"multi_touch_v2"}, "490154203237518");
    settle("MultiTouch_v2_ViewController");
    tap("uiBtCouldntCompleteTest");
    settle("TestsFinishedViewController");
  }

  bool alertShown() { return frontEnd->alert() && frontEnd->findItem("action0"); }
};

TEST_F(RunChromeTest, OverlayCoversAStalledUploadAndTheAlertAnswersThroughItsButtons) {
  ScriptedHttpServer server;
  server.script({ScriptedHttpServer::Reply::stall()});
  useAssetsHost(server.origin());
  AssetUploaderWebService::timeoutInterval = std::chrono::milliseconds(1500);
  reachEndScreen();

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
