#pragma once

namespace quorvel {

class TestsFinishedViewController;

class TestsFinishedViewControllerDelegate {
 public:
  virtual ~TestsFinishedViewControllerDelegate() = default;
  virtual void TestsFinishedViewControllerTestAgainPressed(TestsFinishedViewController& vc) = 0;
  virtual void TestsFinishedViewControllerDidFinish(TestsFinishedViewController& vc) = 0;
};

}  // namespace quorvel
