#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "quorvel/Export.h"
#include "quorvel/ui/ViewController.h"

namespace quorvel {

enum class AlertActionStyle : int { standard = 0, cancel = 1, destructive = 2 };

struct QUORVEL_EXPORT AlertAction {
  std::string title;
  AlertActionStyle style = AlertActionStyle::standard;
  std::function<void()> handler;
};

// A modal alert presented by a screen. Choosing an action dismisses the alert, then runs the
// action's handler. The front end sends the actions as "action0", "action1" ...
class QUORVEL_EXPORT AlertController : public ViewController {
 public:
  enum class Style { alert, actionSheet };

  AlertController(std::string title, std::string message, Style style = Style::alert);

  static std::shared_ptr<AlertController> make(std::string title, std::string message,
                                               Style style = Style::alert);

  const std::string& title() const { return title_; }
  const std::string& message() const { return message_; }
  Style style() const { return style_; }
  const std::vector<AlertAction>& actions() const { return actions_; }

  void addAction(AlertAction action);
  // The person chose the action at index.
  void performAction(std::size_t index);

  Dictionary snapshot() const override;

 private:
  std::string title_;
  std::string message_;
  Style style_;
  std::vector<AlertAction> actions_;
};

}  // namespace quorvel
