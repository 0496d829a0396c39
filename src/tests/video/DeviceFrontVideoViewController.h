#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quorvel/Dictionary.h"
#include "quorvel/platform/Camera.h"
#include "quorvel/platform/MainQueue.h"
#include "tests/TestViewController.h"

namespace quorvel {

class LoadingView;

// What both screen video tests share. The person holds the device in front of a mirror; the front
// camera films the screen while it shows a start code, five full-screen colours under a mirrored
// MD5 label and an end code. The person reviews the film, and on confirmation it is converted to
// MP4 and uploaded; the result proves which codes and label the backend's film must show.
class DeviceFrontVideoViewController : public TestViewController {
 public:
  ~DeviceFrontVideoViewController() override;

  // Where the film is recorded, and the MP4 made of it for the upload.
  std::string moviePath() const;
  std::string renderedMoviePath() const;

  const std::string& startQRCode() const { return startQRCode_; }
  const std::string& endQRCode() const { return endQRCode_; }
  const std::string& md5() const { return md5_; }

  void viewDidLoad() override;
  // Nothing films or flashes behind the screen that comes next.
  void viewWillDisappear(bool animated) override;

 protected:
  enum class Step { initial, instructions, preview, recording, endCode, review, uploading, done };

  // From the start of filming to the first colour.
  static constexpr double kColoursDelay = 0.5;

  // version is the result's "version"; a customizable screen takes the host's texts and images
  // under its test key.
  DeviceFrontVideoViewController(std::string interfaceName, std::string testKey,
                                 std::string version, bool customizable, ScreenContext context);

  Step step() const { return step_; }
  void setStep(Step step) { step_ = step; }

  // The host's text under overrideKey (customizable screens only), else the copy of copyKey.
  std::string text(const std::string& overrideKey, std::string_view copyKey) const;
  virtual std::string infoText() const = 0;

  // "start;" or "end;", the run's identifier and the current moment.
  std::string qrCodeText(bool start) const;
  // Builds the start code and shows it in uiImage.
  void showStartCode();
  // Shows text's code in uiImage (nothing when it cannot be drawn).
  void showCode(const std::string& text);
  // Plays the bundle's sound assetName from the loudspeaker in a play-and-record session; a
  // missing sound or player, or a session that refuses, is skipped.
  void playSound(const std::string& assetName);
  // The alert for a device whose camera cannot scan or record; the session is dropped.
  void showScanningNotSupported();

  // The camera session that runs; starting one ends the one before.
  void setSession(std::shared_ptr<CameraSession> session);
  const std::shared_ptr<CameraSession>& session() const { return session_; }
  // Records the current session to moviePath(); false (and the alert) when it cannot.
  bool startRecording();
  void stopRecording();

  // Runs work on the main queue delay seconds from now, unless the screen leaves its steps first.
  void after(double delaySeconds, std::function<void()> work);
  // Ends the camera session and every step still to come.
  void stopEverything();

  // The full-screen colours from now (the base moment): a colour each second from 0 to 4 s,
  // atEndCode at 5 s and atEnd at 5.5 s.
  void runColourSequence(std::function<void()> atEndCode, std::function<void()> atEnd);
  // Back to the first step, as when the screen loaded.
  void showInitialStep();
  void showReviewStep();
  // The step's three views: the texts and codes, the colours, the review.
  void showViews(bool initial, bool colours, bool review);

  // The screen's own parts of the review (v2's check box) and of the first step.
  virtual void reviewShown() {}
  virtual void initialShown() {}
  virtual void report(const Dictionary& result) = 0;
  virtual void reportCancelled() = 0;

  // The result: success, the upload's address, and on success the label and codes.
  Dictionary result(bool success, const std::optional<std::string>& url = std::nullopt) const;

  // Outlets the versions change as well.
  Outlet<Label> lbTitle_{*this, "uiLbTitle"};
  Outlet<Label> lbDescription_{*this, "uiLbDescription"};
  Outlet<ImageView> image_{*this, "uiImage"};
  Outlet<Button> btNext_{*this, "uiBtNext"};
  Outlet<Button> btVideoReviewNext_{*this, "uiBtVideoReviewNext"};

 private:
  void couldNotCompleteTest() override;
  void cancelTest() override;
  void showInfo();
  void playVideo();
  void submit();
  void exported(bool succeeded);
  void uploaded(const std::optional<std::string>& url);
  void finish(const Dictionary& result);
  // work once the recording's file is complete (at once when none runs).
  void whenRecordingEnds(std::function<void()> work);
  void recordingEnded(const std::optional<std::string>& error);
  void showThumbnail();

  std::string version_;
  bool customizable_;
  Step step_ = Step::initial;
  std::string startQRCode_;
  std::string endQRCode_;
  std::string md5_;
  std::shared_ptr<CameraSession> session_;
  bool recording_ = false;
  std::vector<std::function<void()>> afterRecording_;
  std::vector<std::shared_ptr<WorkItem>> pending_;
  std::shared_ptr<LoadingView> loadingView_;

  Outlet<View> initialView_{*this, "uiInitialView"};
  Outlet<View> colorsView_{*this, "uiColorsView"};
  Outlet<View> videoView_{*this, "uiVideoView"};
  Outlet<Label> lbMD5_{*this, "uiLbMD5"};
  Outlet<Label> lbVideoReviewTitle_{*this, "uiLbVideoReviewTitle"};
  Outlet<Label> lbVideoReviewDescription_{*this, "uiLbVideoReviewDescription"};
  Outlet<ImageView> videoReviewImage_{*this, "uiVideoReviewImage"};
  Outlet<Button> btTryAgain_{*this, "uiBtTryAgain"};
  Outlet<Button> btInfo_{*this, "uiBtInfo"};
  Outlet<Button> btPlayVideo_{*this, "uiBtPlayVideo"};
  Outlet<Button> btVideoReviewCouldntComplete_{*this, "uiBtVideoReviewCouldntComplete"};
};

}  // namespace quorvel
