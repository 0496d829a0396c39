#include "quorvel/quick/QuickFrontEnd.h"

#include <QFile>
#include <QQmlApplicationEngine>
#include <QTimer>
#include <utility>

#include "qt/QtHardwareKeys.h"
#include "qt/QtImagePicker.h"
#include "qt/QtPorts.h"
#include "qt/QuorvelImageProvider.h"
#include "quorvel/Fatal.h"
#include "quorvel/Localization.h"
#include "quorvel/QuorvelSDK.h"
#include "quorvel/ui/AlertController.h"
#include "quorvel/ui/LoadingView.h"
#include "quorvel/ui/NavigationController.h"

namespace quorvel {

namespace {

// Where the module Quorvel keeps its files: the chrome, the interfaces and images/.
const QUrl kModule("qrc:/Quorvel/");

// Bridges of screens that left the stack are kept this long, so that pop animations and a
// closing dialog can still draw them.
constexpr int kBridgeGraceMilliseconds = 2000;

QuickFrontEnd* currentFrontEnd = nullptr;

QQuickItem* findNamed(QQuickItem* root, const QString& name) {
  if (!root || !root->isVisible()) return nullptr;
  if (root->objectName() == name) return root;
  for (QQuickItem* child : root->childItems()) {
    if (QQuickItem* found = findNamed(child, name)) return found;
  }
  return nullptr;
}

QQuickItem* itemProperty(const QObject* object, const char* name) {
  return object ? qvariant_cast<QQuickItem*>(object->property(name)) : nullptr;
}

}  // namespace

QuickFrontEnd::QuickFrontEnd(QObject* parent)
    : QObject(parent), images_(std::make_unique<QuorvelImageProvider>()) {
  // The platform is the process's, and QML's FrontEnd names one object.
  if (currentFrontEnd) QUORVEL_FATAL("a second QuickFrontEnd while one exists");
  currentFrontEnd = this;

  ports_ = std::make_unique<QtPorts>(
      this, QtPorts::FrontEnd{[this] { emit imagePickRequested(); },
                              [this](const QUrl& movie, QtVideoPlayback::Closed closed) {
                                showMovie(movie, std::move(closed));
                              },
                              [this] { emit cameraPictureChanged(); }});
  cleanup_.setSingleShot(true);
  cleanup_.setInterval(kBridgeGraceMilliseconds);
  connect(&cleanup_, &QTimer::timeout, this, &QuickFrontEnd::dropUnusedBridges);
  coreWindow_ = std::make_shared<Window>();
  platform().application->makeKeyWindow(coreWindow_);
  observe(coreWindow_);
  observe(platform().application);
  updateChromeCopy();
}

QuickFrontEnd::~QuickFrontEnd() {
  // The ready-made window's view detaches while this object is still whole.
  ownEngine_.reset();
  for (auto& [weak, token] : observed_) {
    if (auto observable = weak.lock()) observable->removeObserver(token);
  }
  currentFrontEnd = nullptr;
}

QuickFrontEnd* QuickFrontEnd::current() { return currentFrontEnd; }

Platform QuickFrontEnd::platform() const { return ports_->platform(); }

void QuickFrontEnd::addInterfaceLocation(const QUrl& base) { interfaceLocations_.push_back(base); }

QUrl QuickFrontEnd::interfaceUrl(const QString& interfaceName) const {
  const QString file = interfaceName + ".qml";
  for (const auto& base : interfaceLocations_) {
    const QUrl candidate = base.resolved(QUrl(file));
    const QString path =
        candidate.scheme() == "qrc" ? ":" + candidate.path() : candidate.toLocalFile();
    if (QFile::exists(path)) return candidate;
  }
  const QUrl own = kModule.resolved(QUrl(file));
  if (!QFile::exists(":" + own.path())) {
    QUORVEL_FATAL("no interface " + file.toStdString());
  }
  return own;
}

void QuickFrontEnd::addToEngine(QQmlEngine& engine) {
  // The module is compiled in; its qmldir sits at qrc:/Quorvel/.
  engine.addImportPath("qrc:/");
  if (!engine.imageProvider(QuorvelImageProvider::kProviderName)) {
    engine.addImageProvider(QuorvelImageProvider::kProviderName, images_->share());
  }
}

void QuickFrontEnd::show(QSize size) {
  if (!ownEngine_) {
    ownEngine_ = std::make_unique<QQmlApplicationEngine>();
    addToEngine(*ownEngine_);
    ownEngine_->load(kModule.resolved(QUrl("SdkWindow.qml")));
  }
  auto* window = qobject_cast<QQuickWindow*>(ownEngine_->rootObjects().value(0));
  if (!window) QUORVEL_FATAL("the front end's window did not load");
  window->resize(size);
  window->show();
}

void QuickFrontEnd::attach(QQuickItem* view) {
  if (!view || view == view_) return;
  disconnect(viewWindowChanged_);
  view_ = view;
  // The view shows none of the core's screens yet: the next sync hands it the whole stack.
  displayed_.clear();
  ports_->keys().attach(view->window());
  viewWindowChanged_ = connect(view, &QQuickItem::windowChanged, this,
                               [this](QQuickWindow* window) { ports_->keys().attach(window); });
  emit viewChanged();
  sync();
}

void QuickFrontEnd::detach(QQuickItem* view) {
  if (!view || view != view_) return;
  disconnect(viewWindowChanged_);
  view_ = nullptr;
  displayed_.clear();
  ports_->keys().attach(nullptr);
  emit viewChanged();
}

ViewControllerBridge* QuickFrontEnd::bridgeFor(const std::shared_ptr<ViewController>& controller) {
  auto& bridge = bridges_[controller.get()];
  // A freed screen's address may be reused by a new one.
  if (!bridge || bridge->controller() != controller) {
    if (bridge) bridge->deleteLater();
    // Alerts are drawn by the window's own dialog, not by an interface of their own.
    const bool isAlert = dynamic_cast<AlertController*>(controller.get()) != nullptr;
    bridge = new ViewControllerBridge(
        controller,
        isAlert ? QUrl() : interfaceUrl(QString::fromStdString(controller->interfaceName())),
        images_.get(), this);
    QQmlEngine::setObjectOwnership(bridge, QQmlEngine::CppOwnership);
  }
  return bridge;
}

std::shared_ptr<ViewController> QuickFrontEnd::topViewController() const {
  if (displayed_.empty()) return nullptr;
  return displayed_.back().lock();
}

QQuickItem* QuickFrontEnd::topScreenItem() const { return itemProperty(view_, "currentScreen"); }

QQuickItem* QuickFrontEnd::findItem(const QString& name) const {
  // An alert covers the screens.
  if (alert_) {
    if (QQuickItem* found = findNamed(itemProperty(view_, "alertItem"), name)) return found;
  }
  return findNamed(topScreenItem(), name);
}

void QuickFrontEnd::observe(const std::shared_ptr<Observable>& observable) {
  if (!observable) return;
  int token = observable->addObserver([this] { scheduleSync(); });
  observed_.emplace_back(observable, token);
}

void QuickFrontEnd::scheduleSync() {
  if (syncScheduled_) return;
  syncScheduled_ = true;
  QTimer::singleShot(0, this, [this] { sync(); });
}

void QuickFrontEnd::sync() {
  syncScheduled_ = false;
  updateChromeCopy();
  for (auto& [weak, token] : observed_) {
    if (auto observable = weak.lock()) observable->removeObserver(token);
  }
  observed_.clear();
  observe(coreWindow_);
  observe(platform().application);

  // The stack on display: a navigation controller's, or the root screen alone.
  auto root = coreWindow_->rootViewController();
  std::vector<std::shared_ptr<ViewController>> stack;
  bool animated = false;
  bool barHidden = true;
  if (auto navigation = std::dynamic_pointer_cast<NavigationController>(root)) {
    observe(navigation);
    stack = navigation->viewControllers();
    animated = navigation->lastTransition().animated;
    barHidden = navigation->isNavigationBarHidden();
  } else if (root) {
    stack = {root};
  }
  auto presented = presentedAlert(root, stack);
  const bool stackChanged = syncStack(stack, animated);

  ViewControllerBridge* alert = presented ? bridgeFor(presented) : nullptr;
  ViewControllerBridge* previousAlert = alert_;
  bool navigationChanges = barHidden != navigationBarHidden_;
  navigationBarHidden_ = barHidden;
  if (navigationChanges || stackChanged) emit navigationChanged();
  if (alert != alert_) {
    alert_ = alert;
    emit alertChanged();
  }
  syncOverlay();
  if (stackChanged || alert != previousAlert) cleanup_.start();
}

std::shared_ptr<ViewController> QuickFrontEnd::presentedAlert(
    const std::shared_ptr<ViewController>& root,
    const std::vector<std::shared_ptr<ViewController>>& stack) {
  std::shared_ptr<ViewController> presented;
  auto follow = [&](std::shared_ptr<ViewController> controller) {
    observe(controller);
    while (controller && controller->presentedViewController()) {
      controller = controller->presentedViewController();
      observe(controller);
      presented = controller;
    }
  };
  follow(root);
  for (const auto& controller : stack) {
    if (controller != root) follow(controller);
  }
  return presented;
}

bool QuickFrontEnd::syncStack(const std::vector<std::shared_ptr<ViewController>>& stack,
                              bool animated) {
  if (!view_) return false;
  std::size_t common = 0;
  while (common < displayed_.size() && common < stack.size() &&
         displayed_[common].lock() == stack[common]) {
    ++common;
  }
  const std::size_t before = displayed_.size();
  const bool changed = common != before || common != stack.size();
  // The view settles an unanimated change while it is being told of it: the new stack must be the
  // displayed one by then.
  displayed_.assign(stack.begin(), stack.end());
  if (common == before && stack.size() == common + 1) {
    emit pushScreen(bridgeFor(stack.back()), animated);
  } else if (common == stack.size() && common > 0 && common < before) {
    emit popScreens(static_cast<int>(common), animated);
  } else if (changed) {
    QVariantList screens;
    for (const auto& controller : stack) screens.append(QVariant::fromValue(bridgeFor(controller)));
    emit resetScreens(screens, animated);
  }
  return changed;
}

void QuickFrontEnd::syncOverlay() {
  // Loading overlays: the first one shown covers the window.
  const auto& overlays = coreWindow_->overlays();
  for (const auto& overlay : overlays) observe(overlay);
  const bool shown = !overlays.empty();
  const qreal opacity = shown ? overlays.front()->alpha() : 0;
  const int fade = shown ? static_cast<int>(overlays.front()->fadeDuration() * 1000) : 0;
  if (shown == overlayShown_ && opacity == overlayOpacity_ && fade == overlayFadeMilliseconds_) {
    return;
  }
  overlayShown_ = shown;
  overlayOpacity_ = opacity;
  overlayFadeMilliseconds_ = fade;
  emit overlayChanged();
}

void QuickFrontEnd::dropUnusedBridges() {
  for (auto it = bridges_.begin(); it != bridges_.end();) {
    ViewControllerBridge* bridge = *it;
    auto controller = bridge ? bridge->controller() : nullptr;
    bool inUse = controller && bridge == alert_;
    for (const auto& each : displayed_) inUse = inUse || (controller && each.lock() == controller);
    if (inUse) {
      ++it;
      continue;
    }
    if (bridge) bridge->deleteLater();
    it = bridges_.erase(it);
  }
}

void QuickFrontEnd::goBack() {
  auto navigation =
      std::dynamic_pointer_cast<NavigationController>(coreWindow_->rootViewController());
  if (navigation && navigation->viewControllers().size() > 1) navigation->popViewController(true);
}

void QuickFrontEnd::stackSettled(QQuickItem* top) {
  (void)top;
  auto controller = topViewController();
  if (!controller) return;
  emit screenSettled(bridgeFor(controller));
}

void QuickFrontEnd::imagePicked(const QUrl& file) {
  ports_->picker().finish(Image::file(file.toLocalFile().toStdString()));
}

void QuickFrontEnd::imagePickCancelled() { ports_->picker().finish(std::nullopt); }

void QuickFrontEnd::useAudioSession(std::shared_ptr<AudioSession> session) {
  ports_->useAudioSession(std::move(session));
}

void QuickFrontEnd::useCamera(std::shared_ptr<Camera> camera,
                              std::shared_ptr<CameraPictureSource> pictures) {
  ports_->useCamera(std::move(camera), std::move(pictures));
}

QImage QuickFrontEnd::cameraPicture() const { return ports_->cameraPicture(); }

void QuickFrontEnd::showMovie(const QUrl& movie, std::function<void(const std::string&)> closed) {
  // The same movie again starts over: the player sees its source go and come back.
  if (!movie_.isEmpty()) closeMovie();
  movie_ = movie;
  movieClosed_ = std::move(closed);
  emit movieChanged();
}

void QuickFrontEnd::updateChromeCopy() {
  const SupportedLanguage language = QuorvelSDK::shared().language;
  // A language the core does not know is the run's to report; the chrome keeps its words.
  if (language != SupportedLanguage::english && language != SupportedLanguage::portuguese) return;
  QVariantMap copy;
  copy.insert("back", QString::fromStdString(Localization::copy("back", language)));
  copy.insert("close", QString::fromStdString(Localization::copy("accessibility_close", language)));
  if (copy == chromeCopy_) return;
  chromeCopy_ = copy;
  emit chromeCopyChanged();
}

void QuickFrontEnd::closeMovie(const QString& problem) {
  if (movie_.isEmpty()) return;
  movie_ = QUrl();
  emit movieChanged();
  // Queued: the player may close from inside play, when another movie takes its place.
  if (auto closed = std::exchange(movieClosed_, nullptr)) {
    platform().mainQueue->async(
        [closed = std::move(closed), problem = problem.toStdString()] { closed(problem); });
  }
}

}  // namespace quorvel
