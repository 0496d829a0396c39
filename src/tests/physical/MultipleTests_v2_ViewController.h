#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tests/TestViewController.h"
#include "tests/physical/MultipleTests_v2_ViewControllerDelegate.h"
#include "widgets/MultipleTestsTableViewCell.h"

namespace quorvel {

// Up to three hardware checks as rows of one table, worked through from the top: charging cable,
// volume up, volume down. Each row passes by itself when the device reports its event or is given
// up; when every row is done, Next reports the combined "charging" and "buttons" results.
class MultipleTests_v2_ViewController : public TestViewController {
 public:
  explicit MultipleTests_v2_ViewController(ScreenContext context);

  std::weak_ptr<MultipleTests_v2_ViewControllerDelegate> delegate;

  // The tests this screen serves, in the order of its rows; a run gathers them onto this screen.
  static const std::vector<std::string>& supportedTests();
  // Those chosen for the run (the context's, or set before it loads).
  std::vector<std::string> selectedTests;

  const std::vector<std::string>& testsToPerform() const { return testsToPerform_; }
  int currentTestPos() const { return currentTestPos_; }
  float currentVolume() const { return currentVolume_; }
  TestViewState state(const std::string& rowKey) const;

  void viewDidLoad() override;

 private:
  // The row under test, or null before the first and after the last.
  const std::string* focusedRow() const;
  void moveToNextTest();
  void startDetector(const std::string& rowKey);
  void startChargingDetector();
  void checkCharging();
  void startVolumeDetector();
  void outputVolumeChanged(float volume);
  void finishRow(const std::string& rowKey, bool success, Dictionary extra = Dictionary::object());
  void reloadTable();
  Dictionary combinedResult() const;
  void next();
  void couldNotCompleteTest() override;
  void cancelTest() override;

  std::vector<std::string> testsToPerform_;
  std::map<std::string, Dictionary> testsResults_;
  int currentTestPos_ = -1;
  // The last output level seen, to tell a press up from a press down.
  float currentVolume_ = 0;

  Outlet<View> mainBackgroundView_{*this, "uiMainBackgroundView"};
  Outlet<View> testView_{*this, "uiTestView"};
  Outlet<Table> tableView_{*this, "uiTableView"};
  Outlet<Button> btNext_{*this, "uiBtNext"};
};

}  // namespace quorvel
