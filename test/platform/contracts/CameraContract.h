#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "platform/contracts/Implementation.h"
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

using CameraImplementation = Implementation<CameraDriver>;

namespace contract {

// Counts a callback's calls and those off the camera's main queue, keeping the last argument. The
// callback shares the counts, so a late call after a failed check touches nothing that is gone.
template <class Value>
struct Calls {
  struct Counts {
    int calls = 0;
    int offQueue = 0;
    Value last{};
  };
  std::shared_ptr<Counts> counts = std::make_shared<Counts>();

  auto callback(CameraDriver& driver) const {
    return [counts = counts, queue = std::weak_ptr<MainQueue>(driver.queue())](const auto& value) {
      auto alive = queue.lock();
      ++counts->calls;
      if (!alive || !alive->isCurrent()) ++counts->offQueue;
      counts->last = value;
    };
  }
  int calls() const { return counts->calls; }
};
using Codes = std::vector<std::string>;
using Reports = Calls<Codes>;
using Finished = Calls<std::optional<std::string>>;

inline bool nonEmptyFile(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::file_size(path, ignored) > 0 && !ignored;
}

// "No camera" is both kinds of session being null; otherwise both kinds exist.
inline void checkSessionsOrNone(CameraDriver& driver) {
  auto scanning = driver.camera().startScanning([](const Codes&) {});
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
  for (const char* code : {"QRVL:contract:1", "QRVL:contract:2"}) {
    driver.show(code);
    EXPECT_TRUE(driver.runUntil([&] { return reports.counts->last == Codes{code}; }))
        << code << " in view was not read";
  }
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
  Finished refused, recorded;
  EXPECT_FALSE(first->startRecording(driver.moviePath("ended.mov"), refused.callback(driver)))
      << "a session that a newer one ended still records";
  EXPECT_TRUE(second->startRecording(driver.moviePath("second.mov"), recorded.callback(driver)));
  driver.pass(0.3);
  second->stop();
  EXPECT_TRUE(driver.runUntil([&] { return recorded.calls() > 0; }));
  driver.pass(0.2);
  EXPECT_EQ(refused.calls(), 0);
  EXPECT_EQ(recorded.calls(), 1);
}

// Only a running capture session that is not recording starts a recording; finished comes once,
// on the main queue, after the file is complete, however the recording ends (stopRecording, stop
// or release).
inline void checkRecordings(CameraDriver& driver) {
  driver.show("QRVL:contract:recording");
  auto scanning = driver.camera().startScanning([](const Codes&) {});
  if (!scanning) return;
  Finished never;
  auto refuse = [&](CameraSession& session, const char* why) {
    EXPECT_FALSE(session.startRecording(driver.moviePath("refused.mov"), never.callback(driver)))
        << why;
  };
  refuse(*scanning, "a scanning session records");
  auto capture = driver.camera().startCapture(true);
  ASSERT_TRUE(capture) << "a camera that scans must also capture";
  capture->stopRecording();  // none runs: nothing happens

  const std::string movies[] = {driver.moviePath("stopped-recording.mov"),
                                driver.moviePath("stopped.mov"), driver.moviePath("released.mov")};
  Finished finished[3];
  ASSERT_TRUE(capture->startRecording(movies[0], finished[0].callback(driver)));
  refuse(*capture, "a second recording started while one runs");
  driver.pass(0.6);
  capture->stopRecording();
  capture->stopRecording();
  EXPECT_TRUE(driver.runUntil([&] { return finished[0].calls() > 0; })) << "finished never ran";
  EXPECT_EQ(finished[0].counts->last, std::nullopt);
  EXPECT_TRUE(nonEmptyFile(movies[0])) << "finished ran before the movie was written";

  ASSERT_TRUE(capture->startRecording(movies[1], finished[1].callback(driver)));
  driver.pass(0.3);
  capture->stop();
  capture->stopRecording();
  refuse(*capture, "a stopped session records");
  auto other = driver.camera().startCapture(false);
  ASSERT_TRUE(other && other->startRecording(movies[2], finished[2].callback(driver)));
  driver.pass(0.3);
  other.reset();
  EXPECT_TRUE(driver.runUntil([&] { return finished[1].calls() > 0 && finished[2].calls() > 0; }));
  driver.pass(0.3);
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(nonEmptyFile(movies[i])) << movies[i];
    EXPECT_EQ(finished[i].calls(), 1) << movies[i];
    EXPECT_EQ(finished[i].counts->offQueue, 0) << "finished ran off the main queue";
  }
  EXPECT_EQ(never.calls(), 0) << "finished ran for a recording that was refused";
}

}  // namespace contract

// The suite; each program instantiates it with its implementations.
class CameraContract : public ::testing::TestWithParam<CameraImplementation> {
 protected:
  std::unique_ptr<CameraDriver> driver = GetParam().make();
};

}  // namespace quorvel::testing

// Defines the suite's tests in the program that includes it once.
#define QUORVEL_CAMERA_CONTRACT_TESTS()                                                           \
  TEST_P(CameraContract, HasBothKindsOfSessionOrNone) { contract::checkSessionsOrNone(*driver); } \
  TEST_P(CameraContract, ReportsCodesOnTheMainQueueUntilStopped) {                                \
    contract::checkCodesOnTheMainQueue(*driver);                                                  \
  }                                                                                               \
  TEST_P(CameraContract, RunsOneSessionAtATime) { contract::checkOneSessionAtATime(*driver); }    \
  TEST_P(CameraContract, FinishesEachRecordingOnce) { contract::checkRecordings(*driver); }
