// A host written in QML alone: QuorvelRun starts a run from its properties, covers the scene with a
// window of its own when the host placed no SdkView, and answers each start() once through
// finished, the wrong settings included.
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>

#include "QuickFixture.h"

namespace quorvel::testing {
namespace {

class QuorvelRunTest : public ::testing::Test {
 protected:
  void SetUp() override {
    qputenv("XDG_DOCUMENTS_DIR", QByteArray::fromStdString(documents.path().string()));
    engine.addImportPath("qrc:/");
  }
  void TearDown() override {
    run.reset();
    scene.reset();
    engine.collectGarbage();
    // The front end the QML made for itself, as the application would at its end.
    delete QuickFrontEnd::current();
    installPlatform(makeDefaultPlatform());
    QuorvelSDK::shared().hideStartScreen = false;
    qunsetenv("XDG_DOCUMENTS_DIR");
  }

  // A QuorvelRun with the host's usual settings, those given in place of them, and none of those
  // named in left; it keeps every answer it hears. In a scene, it sits beside an SdkView in the
  // host's window and starts as the scene completes.
  void make(const QVariantMap& settings = {}, const QStringList& left = {}, bool inScene = false) {
    QVariantMap properties = {{"appId", "qml-host"},
                              {"apiKey", "qml-key"},
                              {"assetsHost", "http://127.0.0.1:1"},
                              {"cameraUsage", "Films the screen"},
                              {"microphoneUsage", "Records sound"}};
    properties.insert(settings);
    for (const QString& name : left) properties.remove(name);
    QString qml =
        "QuorvelRun {\n  id: run; objectName: \"run\"\n  property var answers: []\n"
        "  onFinished: (response) => answers = answers.concat([response])\n";
    for (const auto& [name, value] : properties.asKeyValueRange()) {
      qml += QString("  %1: \"%2\"\n").arg(name, value.toString());
    }
    qml += "}\n";
    if (inScene) {
      qml =
          "Window {\n  visible: true; width: 390; height: 844\n  SdkView { anchors.fill: parent "
          "}\n" +
          qml + "  Component.onCompleted: run.start()\n}";
    }
    QQmlComponent component(&engine);
    component.setData("import QtQuick\nimport Quorvel\n" + qml.toUtf8(),
                      QUrl("qrc:/quorvel-tests/Host.qml"));
    std::unique_ptr<QObject> made(component.create());
    ASSERT_NE(made, nullptr) << component.errorString().toStdString();
    if (!inScene) {
      run = std::move(made);
      return;
    }
    scene = std::move(made);
    run.reset(scene->findChild<QObject*>("run"));
    ASSERT_NE(run, nullptr);
    run->setParent(nullptr);
  }
  void start() { QMetaObject::invokeMethod(run.get(), "start"); }
  QVariantList answers() const { return run->property("answers").toList(); }
  QVariantMap answer(int index = 0) const { return answers().value(index).toMap(); }
  bool running() const { return run->property("running").toBool(); }
  std::string topInterface() const {
    auto* frontEnd = QuickFrontEnd::current();
    auto top = frontEnd ? frontEnd->topViewController() : nullptr;
    return top ? top->interfaceName() : "";
  }
  bool reachesStart() const {
    return QTest::qWaitFor([&] { return topInterface() == "StartViewController"; }, 10000);
  }

  TemporaryTree documents{"quorvel-run-documents"};
  QQmlEngine engine;
  std::unique_ptr<QObject> scene;
  std::unique_ptr<QObject> run;
};

// A whole unattended run of a host in QML alone, to 200 and sealed results on the server, is the
// package check's (examples/qml-host).
TEST_F(QuorvelRunTest, WithoutAnSdkViewTheRunShowsInAWindowOfItsOwnUntilItsOneAnswer) {
  make();
  EXPECT_EQ(visibleWindows(), 0);
  start();
  EXPECT_TRUE(running());
  ASSERT_TRUE(reachesStart());
  EXPECT_EQ(visibleWindows(), 1);
  // The run's window goes with its one answer (whose status is the cancel test's below).
  QMetaObject::invokeMethod(run.get(), "cancel");
  EXPECT_TRUE(QTest::qWaitFor([] { return visibleWindows() == 0; }, 5000));
  QTest::qWait(100);
  EXPECT_EQ(answers().size(), 1);
  EXPECT_FALSE(running());
}

TEST_F(QuorvelRunTest, WrongSettingsAnswerOnceThroughFinishedWithTheirStatus) {
  const std::vector<std::tuple<QVariantMap, int, QString>> cases = {
      {{{"environment", "staging"}}, 400, "environment must be production, qa or integrations"},
      {{{"language", "fr"}}, 400, "language must be en or pt"},
      {{{"themeColor", "blue"}}, 400, "themeColor must look like #0B7BFB"},
      // The arguments performTests checks answer as it does.
      {{{"appId", ""}}, 401, ""},
      {{{"imei", "12345"}}, 403, ""},
      {{}, 404, ""}};
  for (const auto& [settings, status, says] : cases) {
    const std::string name =
        settings.isEmpty() ? "no usage texts" : settings.firstKey().toStdString();
    make(settings, status == 404 ? QStringList{"cameraUsage", "microphoneUsage"} : QStringList{});
    start();
    // Never inside start(): a handler may start the next run.
    EXPECT_TRUE(answers().isEmpty()) << name;
    ASSERT_TRUE(QTest::qWaitFor([&] { return !answers().isEmpty(); }, 5000));
    QTest::qWait(50);
    ASSERT_EQ(answers().size(), 1) << name;
    EXPECT_EQ(answer().value("status_code").toInt(), status) << name;
    EXPECT_TRUE(answer().value("status_message").toString().contains(says))
        << answer().value("status_message").toString().toStdString();
    EXPECT_FALSE(running());
    EXPECT_EQ(visibleWindows(), 0) << name;
  }
}

TEST_F(QuorvelRunTest, CancelEndsTheRunAsThePersonsCancelDoesAndAStartWhileRunningIsRefused) {
  // The host's scene holds an SdkView beside the run, which it starts as the scene completes.
  make({}, {}, true);
  ASSERT_TRUE(reachesStart());
  // The run is drawn in the host's scene, and no window of its own came up.
  EXPECT_EQ(QuickFrontEnd::current()->window(), qobject_cast<QQuickWindow*>(scene.get()));
  EXPECT_EQ(visibleWindows(), 1);
  start();  // refused: the run in progress answers once
  QMetaObject::invokeMethod(run.get(), "cancel");
  ASSERT_TRUE(QTest::qWaitFor([&] { return !answers().isEmpty(); }, 5000));
  QTest::qWait(100);
  ASSERT_EQ(answers().size(), 1);
  EXPECT_EQ(answer().value("status_code").toInt(), 301);
  EXPECT_FALSE(running());
  // The navigation is given back: only the empty scene beneath the run is left.
  auto navigation = std::dynamic_pointer_cast<NavigationController>(
      QuickFrontEnd::current()->coreWindow()->rootViewController());
  ASSERT_NE(navigation, nullptr);
  EXPECT_TRUE(QTest::qWaitFor([&] { return navigation->viewControllers().size() == 1; }, 2000));
  EXPECT_EQ(navigation->viewControllers().front()->interfaceName(), "QuorvelRunScene");
  EXPECT_EQ(visibleWindows(), 1) << "the host's window stays";

  // The same element runs again, and its cancel while nothing runs does nothing.
  QMetaObject::invokeMethod(run.get(), "cancel");
  start();
  ASSERT_TRUE(reachesStart());
  QMetaObject::invokeMethod(run.get(), "cancel");
  ASSERT_TRUE(QTest::qWaitFor([&] { return answers().size() == 2; }, 5000));
  EXPECT_EQ(answer(1).value("status_code").toInt(), 301);
  // A cancel before the run reaches the SDK answers as well, once.
  start();
  QMetaObject::invokeMethod(run.get(), "cancel");
  ASSERT_TRUE(QTest::qWaitFor([&] { return answers().size() == 3; }, 5000));
  QTest::qWait(100);
  EXPECT_EQ(answers().size(), 3);
  EXPECT_EQ(answer(2).value("status_code").toInt(), 301);
}

}  // namespace
}  // namespace quorvel::testing
