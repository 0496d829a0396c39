#pragma once

#include <concepts>
#include <string>
#include <utility>

#include "quorvel/ui/Observable.h"

namespace quorvel {

class ViewController;

// A screen's outlet as a member of the screen (`Outlet<Label> title_{*this, "uiLbTitle"};`):
// making it registers the element under that name, and the handle then reaches it directly.
// Access through a non-const handle counts as a change for the front end, as
// ViewController::outlet does; const access does not.
template <class T>
class Outlet {
 public:
  // A name the screen already has keeps its element, which must be a T.
  template <std::derived_from<ViewController> Owner>
  Outlet(Owner& owner, std::string name)
      : changes_(owner), name_(std::move(name)), element_(&owner.template adoptOutlet<T>(name_)) {}
  Outlet(const Outlet&) = delete;
  Outlet& operator=(const Outlet&) = delete;

  const std::string& name() const { return name_; }

  T* operator->() {
    changes_.setNeedsUpdate();
    return element_;
  }
  T& operator*() {
    changes_.setNeedsUpdate();
    return *element_;
  }
  const T* operator->() const { return element_; }
  const T& operator*() const { return *element_; }

 private:
  Observable& changes_;
  std::string name_;
  T* element_;
};

}  // namespace quorvel
