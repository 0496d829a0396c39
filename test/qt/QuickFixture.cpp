#include "QuickFixture.h"

#include <QDir>
#include <QGuiApplication>
#include <QRegularExpression>
#include <QWindow>
#include <algorithm>

#include "qt/OutletItem.h"
#include "quorvel/platform/HostBundle.h"
#include "quorvel/platform/TrackedAudioSession.h"
#include "quorvel/virtual/VirtualAudioRecorder.h"
#include "quorvel/virtual/VirtualSpeaker.h"

namespace quorvel::testing {

namespace {
// The text the core holds for an outlet that shows text (label, button, radio button, check box).
std::string coreText(const Element& element) {
  if (const auto* label = dynamic_cast<const Label*>(&element)) return label->text;
  if (const auto* button = dynamic_cast<const Button*>(&element)) return button->title;
  if (const auto* radio = dynamic_cast<const RadioButton*>(&element)) return radio->title;
  if (const auto* box = dynamic_cast<const CheckBox*>(&element)) return box->title;
  return {};
}
}  // namespace

QColor qColor(const Color& color) {
  return QColor::fromRgbF(float(color.red), float(color.green), float(color.blue),
                          float(color.alpha));
}

bool near(const QColor& a, const QColor& b, int tolerance) {
  return std::abs(a.red() - b.red()) <= tolerance && std::abs(a.green() - b.green()) <= tolerance &&
         std::abs(a.blue() - b.blue()) <= tolerance;
}

QQuickItem* findFirst(QQuickItem* root, const std::function<bool(QQuickItem*)>& holds) {
  if (!root || holds(root)) return root;
  for (QQuickItem* child : root->childItems()) {
    if (QQuickItem* found = findFirst(child, holds)) return found;
  }
  return nullptr;
}

QQuickItem* findNamed(QQuickItem* root, const QString& name) {
  return findFirst(root, [&](QQuickItem* each) { return each->objectName() == name; });
}

int countPoints(const QRect& area, const std::function<bool(int x, int y)>& counts, int step) {
  int count = 0;
  for (int y = area.top(); y <= area.bottom(); y += step) {
    for (int x = area.left(); x <= area.right(); x += step) count += counts(x, y);
  }
  return count;
}

int visibleWindows() {
  return static_cast<int>(std::ranges::count_if(QGuiApplication::topLevelWindows(),
                                                [](QWindow* each) { return each->isVisible(); }));
}

void QuickFixture::SetUp() {
  documents = std::make_unique<TemporaryTree>("quorvel-quick-documents");
  qputenv("XDG_DOCUMENTS_DIR", QByteArray::fromStdString(documents->path().string()));
  frontEnd = std::make_unique<QuickFrontEnd>();
  // The tests' keys must not move the volume of the machine they run on.
  frontEnd->useAudioSession(std::make_shared<TrackedAudioSession>());
  Platform platform = frontEnd->platform();
  device = std::make_shared<ScriptedDevice>();
  device->battery = BatteryState::unplugged;
  device->documents = documents->path().string();
  platform.device = device;
  installPlatform(platform);
  useAssetsHost("http://127.0.0.1:1");
  sdk.language = SupportedLanguage::english;
  sdk.hideStartScreen = false;
  sdk.themeColor.reset();
  customization.reset();
  hostNavigation = NavigationController::make(std::make_shared<ViewController>("HostTestPage"));
  frontEnd->addInterfaceLocation(QUrl("qrc:/quorvel-tests/"));
  frontEnd->coreWindow()->setRootViewController(hostNavigation);
  present();
  settle("HostTestPage");
}

void QuickFixture::present() { frontEnd->show(); }

ScreenContext QuickFixture::contextFor(const std::string& key, std::vector<std::string> run) const {
  if (run.empty()) run = {key};
  ScreenContext context;
  context.ports = platform();
  context.language = sdk.language;
  context.themeColor = Customization::currentThemeColor();
  context.customization = customization ? customization : std::make_shared<Customization>();
  context.header = HeaderPosition::of(key, run);
  return context;
}

std::shared_ptr<MultipleTests_v2_ViewController> QuickFixture::showCombined() {
  auto combined =
      std::make_shared<MultipleTests_v2_ViewController>(contextFor(ScreenType::multiple_tests_v2));
  combined->selectedTests = {ScreenType::charging_v2, ScreenType::buttons_v2};
  return show(combined);
}

void QuickFixture::useVirtualRoom() {
  auto room = std::make_shared<VirtualRoom>();
  auto camera = std::make_shared<VirtualMirrorCamera>(frontEnd->window(), room);
  frontEnd->useCamera(camera, camera);  // which installs it
  Platform changed = platform();
  changed.audioPlayer = std::make_shared<VirtualSpeaker>(changed.audioPlayer, room);
  changed.audioRecorder = std::make_shared<VirtualAudioRecorder>(room, changed.mainQueue);
  installPlatform(changed);
}

void QuickFixture::useAssetsHost(const std::string& origin) {
  Platform changed = platform();
  changed.hostBundle = std::make_shared<StaticHostBundle>(
      Dictionary{{"NSCameraUsageDescription", "Films the screen in a mirror"},
                 {"NSMicrophoneUsageDescription", "Records the speaker test"},
                 {"QuorvelAssetsHostProduction", origin},
                 {"QuorvelAssetsHostQA", origin},
                 {"QuorvelAssetsHostIntegrations", origin}});
  installPlatform(changed);
}

QQuickItem* QuickFixture::chrome(const QString& name) const {
  return findNamed(frontEnd->window()->contentItem(), name);
}

void QuickFixture::TearDown() {
  frontEnd.reset();
  installPlatform(makeDefaultPlatform());
  qunsetenv("XDG_DOCUMENTS_DIR");
}

void QuickFixture::start(std::optional<std::vector<std::string>> tests,
                         std::optional<std::string> imei, std::optional<std::string> serial) {
  sdk.performTests("quick-tests", "key", std::move(tests), std::move(imei), std::move(serial),
                   nullptr, [this](std::optional<Dictionary> answer) {
                     ++completions;
                     response = std::move(answer);
                   });
}

bool QuickFixture::waitFor(const std::function<bool()>& done, int timeoutMs) {
  return QTest::qWaitFor(done, timeoutMs);
}

std::string QuickFixture::topInterface() const {
  auto top = frontEnd->topViewController();
  return top ? top->interfaceName() : "";
}

void QuickFixture::settle(const std::string& interfaceName) {
  const QString expected = QString::fromStdString(interfaceName);
  bool shown = waitFor([&] {
    QQuickItem* top = frontEnd->topScreenItem();
    auto* drawn = top ? top->property("controller").value<ViewControllerBridge*>() : nullptr;
    return topInterface() == interfaceName && drawn && drawn->interfaceName() == expected;
  });
  ASSERT_TRUE(shown) << "the top screen is " << topInterface() << ", not " << interfaceName;
  // Let bindings, layouts and the stack's transition finish.
  waitFor([&] { return !frontEnd->view()->property("transitioning").toBool(); }, 2000);
  QTest::qWait(50);
}

QQuickItem* QuickFixture::item(const QString& name) const {
  QQuickItem* found = frontEnd->findItem(name);
  EXPECT_NE(found, nullptr) << "no item " << name.toStdString() << " on " << topInterface();
  return found;
}

QPoint QuickFixture::centerOf(const QString& name) const {
  QQuickItem* target = item(name);
  if (!target) return {};
  return target->mapToScene(QPointF(target->width() / 2, target->height() / 2)).toPoint();
}

void QuickFixture::tap(const QString& name) {
  QTest::mouseClick(frontEnd->window(), Qt::LeftButton, Qt::NoModifier, centerOf(name));
}

QString QuickFixture::textOf(const QString& name) const {
  QQuickItem* text = findFirst(
      item(name), [](QQuickItem* each) { return !each->property("text").toString().isEmpty(); });
  return text ? text->property("text").toString() : QString();
}

std::vector<std::string> QuickFixture::shownOutlets() const {
  auto controller = frontEnd->topViewController();
  std::vector<std::string> names;
  std::function<void(QQuickItem*)> visit = [&](QQuickItem* each) {
    if (!each->isVisible()) return;
    for (QQuickItem* child : each->childItems()) visit(child);
    auto* outlet = qobject_cast<OutletItem*>(each);
    if (outlet && outlet->controller() && outlet->controller()->controller() == controller) {
      names.push_back(outlet->name().toStdString());
    }
  };
  if (QQuickItem* top = frontEnd->topScreenItem()) visit(top);
  return names;
}

void QuickFixture::expectCoreCopy() {
  auto controller = frontEnd->topViewController();
  ASSERT_NE(controller, nullptr);
  // A label's link is drawn as markup around the core's text.
  auto drawn = [&](const QString& name) {
    return textOf(name).remove(QRegularExpression("<[^>]*>")).toStdString();
  };
  int texts = 0;
  for (const std::string& name : shownOutlets()) {
    const Element& element = std::as_const(*controller).outlet<Element>(name);
    if (const auto* table = dynamic_cast<const Table*>(&element)) {
      for (const auto& row : table->rows) {
        const QString key = QString::fromStdString(row.at("key").get<std::string>());
        EXPECT_EQ(drawn(key + "Title"), row.at("title").get<std::string>()) << key.toStdString();
        EXPECT_EQ(drawn(key + "Description"), row.at("description").get<std::string>())
            << key.toStdString();
      }
    }
    if (coreText(element).empty()) continue;
    ++texts;
    // The core's text may move on (a timer): the drawn one catches up.
    const QString outlet = QString::fromStdString(name);
    waitFor([&] { return drawn(outlet) == coreText(element); }, 2000);
    EXPECT_EQ(drawn(outlet), coreText(element)) << controller->interfaceName() << "." << name;
  }
  EXPECT_GT(texts, 0) << controller->interfaceName() << " shows no copy";
}

QRect QuickFixture::sceneRect(QQuickItem* target) const {
  return target ? target->mapRectToScene(QRectF(0, 0, target->width(), target->height())).toRect()
                : QRect();
}

QImage QuickFixture::grab(const std::string& screenshotName) {
  QImage image = frontEnd->window()->grabWindow();
  if (!screenshotName.empty()) {
    QDir().mkpath(QUORVEL_SCREENSHOT_DIR);
    image.save(QString(QUORVEL_SCREENSHOT_DIR) + "/" + QString::fromStdString(screenshotName) +
               ".png");
  }
  return image;
}

QColor QuickFixture::colorAt(const QString& name, QPointF offset) {
  QQuickItem* target = item(name);
  if (!target) return {};
  QImage image = grab();
  const qreal scale = image.width() / qreal(frontEnd->window()->width());
  QPointF at = target->mapToScene(QPointF(target->width() / 2, target->height() / 2) + offset);
  return image.pixelColor((at * scale).toPoint());
}

void QuickFixture::expectCoreColours() {
  auto controller = frontEnd->topViewController();
  ASSERT_NE(controller, nullptr);
  const std::string screen = controller->interfaceName();
  ASSERT_TRUE(
      frontEnd->bridgeFor(controller)->interfaceUrl().toString().startsWith("qrc:/Quorvel/"))
      << screen << " is not one of the SDK's screens";
  auto expectSet = [&](const std::string& name, const char* what, const std::optional<Color>& c) {
    EXPECT_TRUE(c.has_value()) << screen << "." << name << " draws its " << what
                               << " but the core sets none";
  };
  bool background = false;
  for (const std::string& name : shownOutlets()) {
    const Element& element = std::as_const(*controller).outlet<Element>(name);
    if (const auto* label = dynamic_cast<const Label*>(&element)) {
      if (!label->text.empty()) expectSet(name, "text", label->textColor);
      if (!label->link.empty()) expectSet(name, "link", label->tintColor);
    } else if (const auto* button = dynamic_cast<const Button*>(&element)) {
      if (!button->title.empty()) expectSet(name, "title", button->titleColor);
      if (button->borderType) expectSet(name, "fill", button->backgroundColor);
      if (button->image && button->image->isTemplate) expectSet(name, "image", button->tintColor);
    } else if (const auto* image = dynamic_cast<const ImageView*>(&element)) {
      if (image->image && image->image->isTemplate) expectSet(name, "image", image->tintColor);
    } else if (const auto* radio = dynamic_cast<const RadioButton*>(&element)) {
      expectSet(name, "text", radio->textColor);
      expectSet(name, "mark", radio->tintColor);
    } else if (const auto* box = dynamic_cast<const CheckBox*>(&element)) {
      expectSet(name, "text", box->textColor);
      expectSet(name, "mark", box->tintColor);
    } else if (const auto* field = dynamic_cast<const TextField*>(&element)) {
      expectSet(name, "text", field->textColor);
      expectSet(name, "accent", field->tintColor);
    } else if (const auto* bar = dynamic_cast<const ProgressBar*>(&element)) {
      expectSet(name, "track", bar->backgroundColor);
    } else if (name == "view" || name == "uiBackgroundView" || name == "uiMainBackgroundView") {
      background = background || (element.backgroundColor && element.backgroundColor->alpha == 1);
    }
  }
  EXPECT_TRUE(background) << screen << " has no opaque background colour from the core";
}

}  // namespace quorvel::testing
