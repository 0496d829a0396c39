#pragma once

#include <string>

#include "quorvel/Dictionary.h"
#include "quorvel/ui/ViewController.h"
#include "run/ScreenTable.h"

namespace quorvel::testing {

// A test screen for exercising the run before the real ones exist: "finish" reports result to the
// run controller under resultKey (the combined screen reports through its own rule), "cancel"
// cancels. Its header is built like every test screen's.
class ScriptedTestScreen : public ViewController {
 public:
  ScriptedTestScreen(std::string key, std::string resultKey);

  const std::string& key() const { return key_; }
  Dictionary result = {{"success", true}, {"version", "2"}};

  void viewDidLoad() override;
  void viewWillAppear(bool animated) override;

 private:
  std::string key_;
  std::string resultKey_;
};

// Binds scripted screens to the keys a run can reach, plus "charging_v1".
void bindScriptedScreens(ScreenTable& table);

}  // namespace quorvel::testing
