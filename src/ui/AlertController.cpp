#include "quorvel/ui/AlertController.h"

namespace quorvel {

AlertController::AlertController(std::string title, std::string message, Style style)
    : ViewController("AlertController"),
      title_(std::move(title)),
      message_(std::move(message)),
      style_(style) {}

std::shared_ptr<AlertController> AlertController::make(std::string title, std::string message,
                                                       Style style) {
  return std::make_shared<AlertController>(std::move(title), std::move(message), style);
}

void AlertController::addAction(AlertAction action) {
  std::size_t index = actions_.size();
  actions_.push_back(std::move(action));
  registerAction("action" + std::to_string(index), [this, index] { performAction(index); });
  setNeedsUpdate();
}

void AlertController::performAction(std::size_t index) {
  if (index >= actions_.size()) QUORVEL_FATAL("alert has no action " + std::to_string(index));
  auto self = shared_from_this();
  auto handler = actions_[index].handler;
  dismiss(true);
  if (handler) handler();
}

Dictionary AlertController::snapshot() const {
  Dictionary json = ViewController::snapshot();
  json["title"] = title_;
  json["message"] = message_;
  json["style"] = style_ == Style::alert ? "alert" : "actionSheet";
  Dictionary actions = Dictionary::array();
  for (const auto& action : actions_) {
    actions.push_back({{"title", action.title}, {"style", static_cast<int>(action.style)}});
  }
  json["alertActions"] = actions;
  return json;
}

}  // namespace quorvel
