#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "quorvel/Dictionary.h"
#include "quorvel/Export.h"
#include "quorvel/Fatal.h"
#include "quorvel/ui/Elements.h"
#include "quorvel/ui/GestureRecognizer.h"
#include "quorvel/ui/Observable.h"
#include "quorvel/ui/Outlet.h"

namespace quorvel {

class NavigationController;

// A screen: it owns all of the screen's behaviour, and a front end draws its outlets (loading
// resources/interfaces/<interfaceName>.qml) and sends its actions by name. Create screens with
// std::make_shared; the navigation and the front end hold them by shared pointer.
class QUORVEL_EXPORT ViewController : public Observable,
                                      public std::enable_shared_from_this<ViewController> {
 public:
  explicit ViewController(std::string interfaceName);
  ~ViewController() override;

  const std::string& interfaceName() const { return interfaceName_; }
  // "<InterfaceName: 0x...>", for log lines.
  std::string description() const;

  // Lifecycle, called by the navigation.
  void loadViewIfNeeded();
  bool isViewLoaded() const { return viewLoaded_; }
  virtual void viewDidLoad() {}
  virtual void viewWillAppear(bool /*animated*/) {}
  virtual void viewWillDisappear(bool /*animated*/) {}

  // Outlets by name; an unknown name or a wrong kind is a programming error. Mutable access
  // counts as a change for the front end.
  template <class T>
  T& outlet(const std::string& name) {
    setNeedsUpdate();
    return findOutlet<T>(name);
  }
  template <class T>
  const T& outlet(const std::string& name) const {
    return const_cast<ViewController*>(this)->findOutlet<T>(name);
  }
  bool hasOutlet(const std::string& name) const { return outlets_.count(name) != 0; }
  std::vector<std::string> outletNames() const;

  // Input from the front end. sendAction answers false when the screen has no such action.
  bool sendAction(const std::string& name);
  bool hasAction(const std::string& name) const { return actions_.count(name) != 0; }
  std::vector<std::string> actionNames() const;
  // The person edited a text field.
  void textFieldDidChange(const std::string& name, std::string text);

  // Gesture recognisers on an outlet. The front end shows a removal through the next update.
  void addGestureRecognizer(const std::string& outletName,
                            std::shared_ptr<GestureRecognizer> recognizer);
  void removeGestureRecognizers(const std::string& outletName);
  // Touches of one phase on an outlet, in its coordinates, for the outlet's recognisers.
  void handleTouches(const std::string& outletName, TouchPhase phase,
                     const std::vector<Touch>& touches);

  // The whole screen as JSON: interface, outlets with their properties, actions, presented alert.
  virtual Dictionary snapshot() const;

  std::shared_ptr<NavigationController> navigationController() const {
    return navigationController_.lock();
  }

  // Modal presentation (alerts). Presenting while something is presented is ignored, as a
  // platform would refuse it.
  void present(std::shared_ptr<ViewController> controller, bool animated);
  std::shared_ptr<ViewController> presentedViewController() const { return presented_; }
  std::shared_ptr<ViewController> presentingViewController() const { return presenting_.lock(); }
  // Dismisses what this controller presents, or this controller from its presenter.
  void dismiss(bool animated);

 protected:
  // The root view, which every screen has (its background).
  Outlet<View>& view() { return view_; }
  const Outlet<View>& view() const { return view_; }

  // For screens that name their outlets at run time; the SDK's screens hold Outlet members.
  template <class T>
  T& registerOutlet(const std::string& name) {
    return adoptOutlet<T>(name);
  }
  void registerAction(const std::string& name, std::function<void()> handler);

 private:
  friend class NavigationController;
  template <class>
  friend class Outlet;

  // A new name gets a new T; a name registered before keeps its element (handles to it stay
  // valid), which must be a T.
  template <class T>
  T& adoptOutlet(const std::string& name) {
    auto& element = outlets_[name];
    if (!element) element = std::make_unique<T>();
    return findOutlet<T>(name);
  }

  template <class T>
  T& findOutlet(const std::string& name) {
    auto it = outlets_.find(name);
    if (it == outlets_.end() || !it->second) {
      QUORVEL_FATAL(interfaceName_ + " has no outlet " + name);
    }
    auto* typed = dynamic_cast<T*>(it->second.get());
    if (!typed) QUORVEL_FATAL(interfaceName_ + "." + name + " is a " + it->second->kind());
    return *typed;
  }

  std::string interfaceName_;
  bool viewLoaded_ = false;
  std::map<std::string, std::unique_ptr<Element>> outlets_;
  Outlet<View> view_{*this, "view"};
  std::map<std::string, std::function<void()>> actions_;
  std::weak_ptr<NavigationController> navigationController_;
  std::shared_ptr<ViewController> presented_;
  std::weak_ptr<ViewController> presenting_;
};

}  // namespace quorvel
