#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "quorvel/Dictionary.h"
#include "tests/TestViewController.h"

namespace quorvel {

// What both heard-word tests share: the screen plays a spoken word, the person types what they
// heard and passes when it matches (trimmed, lower-cased, nothing more). A word answered right
// leaves the process's list for the next heard-word test. The loudspeaker and earpiece tests
// differ only in where the word is played and in their texts.
class HeardWordViewController : public TestViewController {
 public:
  const std::vector<std::string>& words() const { return words_; }
  // The word being tested.
  const std::string& word() const { return words_[randomIndex_]; }
  bool isPlaying() const { return playing_; }

  void viewDidLoad() override;
  void viewWillDisappear(bool animated) override;

  // Whether typed, trimmed of white space and line breaks and lower-cased, is expected treated so.
  static bool wordsMatch(const std::string& typed, const std::string& expected);

 protected:
  // copyPrefix names the copy ("loudspeaker_test_title" ...); defaultToSpeaker plays the word on
  // the loudspeaker rather than the earpiece.
  HeardWordViewController(std::string interfaceName, std::string testKey, std::string copyPrefix,
                          bool defaultToSpeaker, ScreenContext context);

  virtual void reportFinished(const Dictionary& result) = 0;
  virtual void reportCancelled() = 0;

 private:
  void couldNotCompleteTest() override;
  void cancelTest() override;
  void play();
  void playEnded();
  void changeWord();
  void editingEnded();
  void next();
  void showPlayButton();
  Dictionary result(bool success) const;

  std::string copyPrefix_;
  bool defaultToSpeaker_;
  std::vector<std::string> words_;
  std::size_t randomIndex_ = 0;
  bool playing_ = false;
  unsigned playback_ = 0;
  bool finished_ = false;

  Outlet<Label> lbTitle_{*this, "uiLbTitle"};
  Outlet<Label> lbDescription_{*this, "uiLbDescription"};
  Outlet<Button> btChangeWord_{*this, "uiBtChangeWord"};
  Outlet<Button> btPlay_{*this, "uiBtPlay"};
  Outlet<Button> btNext_{*this, "uiBtNext"};
  Outlet<Button> btInfo_{*this, "uiBtInfo"};
  Outlet<TextField> tfWord_{*this, "uiTfWord"};
  Outlet<ActivityIndicator> activityIndicator_{*this, "uiActivityIndicator"};
};

}  // namespace quorvel
