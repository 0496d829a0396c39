#pragma once

#include <algorithm>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "quorvel/platform/Platform.h"
#include "quorvel/ui/Application.h"
#include "support/ManualMainQueue.h"
#include "support/ScriptedAudioRecorder.h"
#include "support/ScriptedDevice.h"
#include "support/ScriptedMedia.h"
#include "support/ScriptedVolume.h"

namespace quorvel::testing {

class CapturingLog : public Log {
 public:
  void write(std::string_view line) override {
    std::lock_guard lock(mutex_);
    lines_.emplace_back(line);
  }
  std::vector<std::string> lines() const {
    std::lock_guard lock(mutex_);
    return lines_;
  }
  bool contains(std::string_view line) const { return std::ranges::count(lines(), line) > 0; }
  // Index of the first line that starts with prefix, or -1.
  long indexOf(std::string_view prefix) const {
    auto all = lines();
    auto it = std::ranges::find_if(all, [&](auto& l) { return l.starts_with(prefix); });
    return it == all.end() ? -1 : it - all.begin();
  }
  void clear() {
    std::lock_guard lock(mutex_);
    lines_.clear();
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
};

class FixedClock : public Clock {
 public:
  TimePoint at =
      TimePoint(std::chrono::milliseconds(1709288130123));  // 2024-03-01 10:15:30.123 UTC
  int offset = 0;
  TimePoint now() const override { return at; }
  int utcOffsetSeconds(TimePoint) const override { return offset; }
};

// A photo picker whose answer the test gives.
class ScriptedImagePicker : public ImagePicker {
 public:
  std::optional<Image> next;
  void pickImage(bool, std::function<void(std::optional<Image>)> completion) override {
    completion(next);
  }
};

class RecordingUrlOpener : public UrlOpener {
 public:
  std::vector<std::string> opened;
  void open(const std::string& url, std::function<void(bool)> completion) override {
    opened.push_back(url);
    completion(true);
  }
};

// Writes down when the device vibrated, by the main queue's clock.
class RecordingFeedback : public Feedback {
 public:
  explicit RecordingFeedback(std::shared_ptr<ManualMainQueue> queue) : queue_(std::move(queue)) {}
  std::vector<double> vibrations;
  void vibrate() override { vibrations.push_back(queue_->now()); }

 private:
  std::shared_ptr<ManualMainQueue> queue_;
};

// A host bundle whose dictionary a test changes in place, so that whoever already holds it (a
// run's uploader) reads the change.
struct ScriptedHostBundle : HostBundle {
  explicit ScriptedHostBundle(Dictionary entries) : info(std::move(entries)) {}
  Dictionary infoDictionary() const override { return info; }
  Dictionary info;
};

// Every port scripted; install() makes them the platform.
struct TestPlatform {
  std::shared_ptr<ManualMainQueue> queue = std::make_shared<ManualMainQueue>();
  std::shared_ptr<CapturingLog> log = std::make_shared<CapturingLog>();
  std::shared_ptr<FixedClock> clock = std::make_shared<FixedClock>();
  std::shared_ptr<ScriptedDevice> device = std::make_shared<ScriptedDevice>();
  std::shared_ptr<ScriptedHostBundle> host = std::make_shared<ScriptedHostBundle>(
      Dictionary{{"NSCameraUsageDescription", "Films the screen in a mirror"},
                 {"NSMicrophoneUsageDescription", "Records the speaker test"},
                 {"CFBundleShortVersionString", "3.2.1"},
                 {"CFBundleVersion", "321"},
                 // Port 1 on loopback refuses at once: no test can reach a real backend.
                 {"QuorvelAssetsHostProduction", "http://127.0.0.1:1"},
                 {"QuorvelAssetsHostQA", "http://127.0.0.1:1"},
                 {"QuorvelAssetsHostIntegrations", "http://127.0.0.1:1"}});
  std::shared_ptr<ScriptedImagePicker> picker = std::make_shared<ScriptedImagePicker>();
  std::shared_ptr<RecordingUrlOpener> opener = std::make_shared<RecordingUrlOpener>();
  std::shared_ptr<Application> application = std::make_shared<Application>();
  std::shared_ptr<ScreenshotEvents> screenshots = std::make_shared<ScreenshotEvents>();
  // The volume keys over the system's output level, reported through its two ports.
  ScriptedVolume volume;
  std::shared_ptr<ScriptedCamera> camera = std::make_shared<ScriptedCamera>(queue);
  std::shared_ptr<ScriptedMediaExport> mediaExport = std::make_shared<ScriptedMediaExport>();
  std::shared_ptr<RecordingAudioPlayer> sounds = std::make_shared<RecordingAudioPlayer>(queue);
  std::shared_ptr<ScriptedAudioRecorder> recorder = std::make_shared<ScriptedAudioRecorder>(queue);
  std::shared_ptr<RecordingFeedback> feedback = std::make_shared<RecordingFeedback>(queue);
  std::shared_ptr<RecordingVideoPlayback> videoPlayer =
      std::make_shared<RecordingVideoPlayback>(queue);

  // HTTP, images and types stay real (loopback, FFmpeg, shared-mime-info); the rest is scripted.
  void install() {
    Platform p;
    p.mainQueue = queue;
    p.clock = clock;
    p.log = log;
    p.hostBundle = host;
    p.device = device;
    p.imagePicker = picker;
    p.urlOpener = opener;
    p.application = application;
    p.volumeEvents = volume.events;
    p.audioSession = volume.session;
    p.screenshotEvents = screenshots;
    p.camera = camera;
    p.mediaExport = mediaExport;
    sounds->session = volume.session;
    p.audioPlayer = sounds;
    p.videoPlayback = videoPlayer;
    p.audioRecorder = recorder;
    p.feedback = feedback;
    installPlatform(p);
  }
  void setHostInfo(Dictionary info) { host->info = std::move(info); }
  // Points every environment's assets host at origin and installs the platform again.
  void setAssetsHost(const std::string& origin) {
    for (const char* key :
         {"QuorvelAssetsHostProduction", "QuorvelAssetsHostQA", "QuorvelAssetsHostIntegrations"}) {
      host->info[key] = origin;
    }
    install();
  }
};

}  // namespace quorvel::testing
