// The bridge hands QML each outlet's values straight from the core's typed elements (colours as
// QML colours, images as sources with their tint) and, on each refresh, sets only the values that
// changed, so that QML re-evaluates nothing else. Table rows and alerts are checked as drawn
// (the accessibility walk, RunChromeTest).
#include <gtest/gtest.h>

#include <QColor>
#include <QSignalSpy>

#include "qt/QuorvelImageProvider.h"
#include "quorvel/quick/ViewControllerBridge.h"
#include "support/TestImages.h"

namespace quorvel::testing {
namespace {

class SampleScreen : public ViewController {
 public:
  SampleScreen() : ViewController("SampleScreen") {
    registerOutlet<Label>("uiLbTitle");
    registerOutlet<Button>("uiBtNext");
    registerOutlet<ProgressBar>("uiBar");
  }
};

class ViewControllerBridgeTest : public ::testing::Test {
 protected:
  ViewControllerBridgeTest() {
    auto& title = screen->outlet<Label>("uiLbTitle");
    title.text = "First";
    title.textColor = Color::rgb(22, 27, 38);
    auto& next = screen->outlet<Button>("uiBtNext");
    next.title = "Next";
    next.image = Image::asset("photo", true);
    next.tintColor = Color::rgb(0, 128, 255);
    next.borderType = BorderType::rounded;
    bridge = std::make_unique<ViewControllerBridge>(screen, QUrl(), &images);
  }

  QVariant value(const char* outlet, const char* key) {
    QQmlPropertyMap* values = bridge->outlet(outlet);
    return values ? values->value(key) : QVariant();
  }
  // The values of outlet whose change QML hears about from now on: each value is a property
  // whose notify signal QML's bindings follow.
  class Listener {
   public:
    explicit Listener(QQmlPropertyMap* values) {
      const QMetaObject* meta = values->metaObject();
      for (int i = meta->propertyOffset(); i < meta->propertyCount(); ++i) {
        const QMetaProperty property = meta->property(i);
        spies_.emplace(property.name(),
                       std::make_unique<QSignalSpy>(values, property.notifySignal()));
      }
    }
    // The values that changed, in name order.
    std::string changed() const {
      std::string names;
      for (const auto& [name, spy] : spies_) {
        if (!spy->isEmpty()) names += (names.empty() ? "" : " ") + name;
      }
      return names;
    }

   private:
    std::map<std::string, std::unique_ptr<QSignalSpy>> spies_;
  };

  QuorvelImageProvider images;
  std::shared_ptr<SampleScreen> screen = std::make_shared<SampleScreen>();
  std::unique_ptr<ViewControllerBridge> bridge;
};

// The values' colours reach the pixels (ScreenStateTest, HostSceneTest), unset ones drawing
// nothing, and images carry their tint (the accessibility walk); here, what no picture shows.
TEST_F(ViewControllerBridgeTest, ColoursAreQmlColoursAndBorderTypesNumbers) {
  EXPECT_EQ(value("uiLbTitle", "textColor").typeId(), QMetaType::QColor);
  // A translucent colour stays translucent.
  screen->outlet<Label>("uiLbTitle").textColor = Color::rgb(22, 27, 38, 0.5);
  bridge->refresh();
  EXPECT_EQ(value("uiLbTitle", "textColor").value<QColor>().alpha(), 128);
  EXPECT_EQ(value("uiBtNext", "borderType").toInt(), static_cast<int>(BorderType::rounded));
}

TEST_F(ViewControllerBridgeTest, ARefreshSetsOnlyTheValuesThatChanged) {
  Listener title(bridge->outlet("uiLbTitle"));
  Listener next(bridge->outlet("uiBtNext"));
  Listener bar(bridge->outlet("uiBar"));

  screen->outlet<Label>("uiLbTitle").text = "Second";
  screen->outlet<Button>("uiBtNext").enabled = false;
  // Written, but to the value it had.
  screen->outlet<ProgressBar>("uiBar").segmentHeight = 3;
  bridge->refresh();
  EXPECT_EQ(title.changed(), "text");
  EXPECT_EQ(next.changed(), "enabled");
  EXPECT_EQ(bar.changed(), "");
  EXPECT_EQ(value("uiLbTitle", "text").toString(), "Second");

  // A new tint gives the same image a new source.
  screen->outlet<Button>("uiBtNext").tintColor = Color::rgb(255, 0, 0);
  bridge->refresh();
  EXPECT_EQ(next.changed(), "enabled image tintColor");
  EXPECT_EQ(value("uiBtNext", "image").toString(), "image://quorvel/asset/photo?tint=ffff0000");
}

// Pictures shrink to their place but never grow past their own size, which would only cost
// memory; bitmaps keep sharp blocks.
TEST_F(ViewControllerBridgeTest, ImagesShrinkToTheirPlaceButNeverGrow) {
  const QString source = images.sourceFor(Image::encoded(makePng(400, 200)), std::nullopt);
  const QString id = source.mid(QString("image://quorvel/").size());
  QSize size;
  EXPECT_EQ(images.requestImage(id, &size, QSize(1600, 1600)).size(), QSize(400, 200));
  EXPECT_EQ(images.requestImage(id, &size, QSize(100, 100)).size(), QSize(100, 50));
  EXPECT_EQ(size, QSize(100, 50));

  // A 2 x 1 bitmap, black and white, halved to its requested 1 x 1 stays one of its own values.
  const QString code = images.sourceFor(Image::bitmap(2, 1, {0, 255}), std::nullopt)
                           .mid(QString("image://quorvel/").size());
  EXPECT_EQ(images.requestImage(code, &size, QSize(0, 0)).size(), QSize(2, 1));
  const QImage small = images.requestImage(code, &size, QSize(1, 1));
  ASSERT_EQ(small.size(), QSize(1, 1));
  EXPECT_TRUE(qGray(small.pixel(0, 0)) == 0 || qGray(small.pixel(0, 0)) == 255);
}

}  // namespace
}  // namespace quorvel::testing
