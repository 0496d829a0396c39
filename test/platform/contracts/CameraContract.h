#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "quorvel/platform/Camera.h"
#include "quorvel/platform/MainQueue.h"

namespace quorvel::testing {

// What every Camera must do, whoever implements it: sessions or none, codes on the main queue,
// one session at a time, and recordings that finish exactly once. A driver stands the camera in
// front of a screen showing QR codes and runs its main queue on the test's thread.
class CameraDriver {
 public:
  virtual ~CameraDriver() = default;
  virtual Camera& camera() = 0;
  // The queue the camera answers on.
  virtual std::shared_ptr<MainQueue> queue() = 0;
  // Puts a QR code with text in the camera's view.
  virtual void show(const std::string& text) = 0;
  // Runs the queue (and whatever else the camera needs) until done() holds or the driver gives
  // up; returns done().
  virtual bool runUntil(const std::function<bool()>& done) = 0;
  // Lets seconds of the camera's time pass.
  virtual void pass(double seconds) = 0;
  // A fresh path for a movie in a scratch folder.
  virtual std::string moviePath(const std::string& name) = 0;
};

struct CameraImplementation {
  std::string name;
  std::function<std::unique_ptr<CameraDriver>()> make;
};
inline void PrintTo(const CameraImplementation& implementation, std::ostream* out) {
  *out << implementation.name;
}

namespace contract {

// Held weakly by callbacks, which may wait in the queue itself.
inline bool onQueue(const std::weak_ptr<MainQueue>& queue) {
  auto alive = queue.lock();
  return alive && alive->isCurrent();
}

// Counts a recording's finished calls and where they ran. The callback shares the counts, so a
// late call after a failed check touches nothing that is gone.
struct Finished {
  struct Counts {
    int calls = 0;
    int offQueue = 0;
    std::optional<std::string> error;
  };
  std::shared_ptr<Counts> counts = std::make_shared<Counts>();

  std::function<void(std::optional<std::string>)> callback(CameraDriver& driver) const {
    return [counts = counts,
            queue = std::weak_ptr<MainQueue>(driver.queue())](std::optional<std::string> error) {
      ++counts->calls;
      if (!onQueue(queue)) ++counts->offQueue;
      counts->error = std::move(error);
    };
  }
  int calls() const { return counts->calls; }
};

// Counts a scanning session's reports and where they ran.
struct Reports {
  struct Counts {
    int calls = 0;
    int offQueue = 0;
    std::vector<std::string> codes;
  };
  std::shared_ptr<Counts> counts = std::make_shared<Counts>();

  std::function<void(const std::vector<std::string>&)> callback(CameraDriver& driver) const {
    return [counts = counts, queue = std::weak_ptr<MainQueue>(driver.queue())](
               const std::vector<std::string>& codes) {
      ++counts->calls;
      if (!onQueue(queue)) ++counts->offQueue;
      counts->codes = codes;
    };
  }
  int calls() const { return counts->calls; }
};

inline bool nonEmptyFile(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::file_size(path, ignored) > 0 && !ignored;
}

// "No camera" is both kinds of session being null; otherwise both kinds exist.
inline void checkSessionsOrNone(CameraDriver& driver) {
  auto scanning = driver.camera().startScanning([](const std::vector<std::string>&) {});
  auto capture = driver.camera().startCapture(false);
  EXPECT_EQ(scanning == nullptr, capture == nullptr)
      << "a camera that scans must also capture, and one without a camera does neither";
}

// The codes in view arrive on the main queue, never inside startScanning, and stop with the
// session.
inline void checkCodesOnTheMainQueue(CameraDriver& driver) {
  driver.show("QRVL:contract:1");
  Reports reports;
  auto session = driver.camera().startScanning(reports.callback(driver));
  if (!session) return;
  EXPECT_EQ(reports.calls(), 0) << "codes reported before startScanning returned";
  ASSERT_TRUE(driver.runUntil([&] { return reports.calls() > 0; })) << "no code was read";
  EXPECT_EQ(reports.counts->codes, std::vector<std::string>{"QRVL:contract:1"});
  driver.show("QRVL:contract:2");
  EXPECT_TRUE(driver.runUntil([&] {
    return reports.counts->codes == std::vector<std::string>{"QRVL:contract:2"};
  })) << "a new code in view was not read";
  session->stop();
  session->stop();
  const int calls = reports.calls();
  driver.pass(0.5);
  EXPECT_EQ(reports.calls(), calls) << "codes reported after the session stopped";
  EXPECT_EQ(reports.counts->offQueue, 0) << "codes reported off the main queue";
}

// Starting a session ends the one before: it reports nothing more and cannot record.
inline void checkOneSessionAtATime(CameraDriver& driver) {
  driver.show("QRVL:contract:one");
  Reports reports;
  auto scanning = driver.camera().startScanning(reports.callback(driver));
  if (!scanning) return;
  ASSERT_TRUE(driver.runUntil([&] { return reports.calls() > 0; })) << "no code was read";
  auto first = driver.camera().startCapture(false);
  ASSERT_TRUE(first) << "a camera that scans must also capture";
  const int calls = reports.calls();
  driver.pass(0.5);
  EXPECT_EQ(reports.calls(), calls) << "the scanning session went on after a capture started";

  auto second = driver.camera().startCapture(false);
  ASSERT_TRUE(second);
  Finished refused;
  EXPECT_FALSE(first->startRecording(driver.moviePath("ended.mov"), refused.callback(driver)))
      << "a session that a newer one ended still records";
  Finished recorded;
  EXPECT_TRUE(second->startRecording(driver.moviePath("second.mov"), recorded.callback(driver)));
  driver.pass(0.3);
  second->stop();
  EXPECT_TRUE(driver.runUntil([&] { return recorded.calls() > 0; }));
  driver.pass(0.2);
  EXPECT_EQ(refused.calls(), 0);
  EXPECT_EQ(recorded.calls(), 1);
}

// Only a running capture session that is not recording starts a recording; finished comes once,
// on the main queue, after the file is complete, however the recording ends.
inline void checkRecordings(CameraDriver& driver) {
  driver.show("QRVL:contract:recording");
  auto scanning = driver.camera().startScanning([](const std::vector<std::string>&) {});
  if (!scanning) return;
  Finished never;
  EXPECT_FALSE(scanning->startRecording(driver.moviePath("scanning.mov"), never.callback(driver)))
      << "a scanning session records";

  auto capture = driver.camera().startCapture(true);
  ASSERT_TRUE(capture) << "a camera that scans must also capture";
  capture->stopRecording();  // none runs: nothing happens
  const std::string movie = driver.moviePath("first.mov");
  Finished first;
  ASSERT_TRUE(capture->startRecording(movie, first.callback(driver)));
  EXPECT_FALSE(capture->startRecording(driver.moviePath("twice.mov"), never.callback(driver)))
      << "a second recording started while one runs";
  driver.pass(0.6);
  capture->stopRecording();
  capture->stopRecording();
  EXPECT_TRUE(driver.runUntil([&] { return first.calls() > 0; })) << "finished never ran";
  EXPECT_EQ(first.counts->error, std::nullopt);
  EXPECT_TRUE(nonEmptyFile(movie)) << "finished ran before the movie was written";

  // Stopping the session ends its recording too; released sessions end theirs.
  Finished stopped;
  const std::string stoppedMovie = driver.moviePath("stopped.mov");
  ASSERT_TRUE(capture->startRecording(stoppedMovie, stopped.callback(driver)));
  driver.pass(0.3);
  capture->stop();
  capture->stopRecording();
  EXPECT_FALSE(capture->startRecording(driver.moviePath("after.mov"), never.callback(driver)))
      << "a stopped session records";
  Finished released;
  const std::string releasedMovie = driver.moviePath("released.mov");
  auto other = driver.camera().startCapture(false);
  ASSERT_TRUE(other && other->startRecording(releasedMovie, released.callback(driver)));
  driver.pass(0.3);
  other.reset();
  EXPECT_TRUE(driver.runUntil([&] { return stopped.calls() > 0 && released.calls() > 0; }));
  EXPECT_TRUE(nonEmptyFile(stoppedMovie));
  EXPECT_TRUE(nonEmptyFile(releasedMovie));

  driver.pass(0.3);
  EXPECT_EQ(first.calls(), 1);
  EXPECT_EQ(stopped.calls(), 1);
  EXPECT_EQ(released.calls(), 1);
  EXPECT_EQ(never.calls(), 0) << "finished ran for a recording that was refused";
  EXPECT_EQ(first.counts->offQueue + stopped.counts->offQueue + released.counts->offQueue, 0)
      << "finished ran off the main queue";
}

}  // namespace contract

// The suite; each program instantiates it with its implementations.
class CameraContract : public ::testing::TestWithParam<CameraImplementation> {
 protected:
  std::unique_ptr<CameraDriver> driver = GetParam().make();
};

inline std::string cameraName(const ::testing::TestParamInfo<CameraImplementation>& info) {
  return info.param.name;
}

}  // namespace quorvel::testing

// Defines the suite's tests in the program that includes it once.
#define QUORVEL_CAMERA_CONTRACT_TESTS()                                                           \
  TEST_P(CameraContract, HasBothKindsOfSessionOrNone) { contract::checkSessionsOrNone(*driver); } \
  TEST_P(CameraContract, ReportsCodesOnTheMainQueueUntilStopped) {                                \
    contract::checkCodesOnTheMainQueue(*driver);                                                  \
  }                                                                                               \
  TEST_P(CameraContract, RunsOneSessionAtATime) { contract::checkOneSessionAtATime(*driver); }    \
  TEST_P(CameraContract, FinishesEachRecordingOnce) { contract::checkRecordings(*driver); }
