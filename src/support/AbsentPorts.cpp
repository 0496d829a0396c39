#include "support/AbsentPorts.h"

#include <string>
#include <utility>

#include "quorvel/Fatal.h"
#include "support/Logging.h"

namespace quorvel {

namespace {

// Each absent port logs once what it cannot do, then answers as its interface allows for "no".
class AbsentImagePicker final : public ImagePicker {
 public:
  explicit AbsentImagePicker(std::shared_ptr<MainQueue> queue) : queue_(std::move(queue)) {}
  bool available() const override { return false; }
  void pickImage(bool, std::function<void(std::optional<Image>)> completion) override {
    queue_->async([completion = std::move(completion)] { completion(std::nullopt); });
  }

 private:
  std::shared_ptr<MainQueue> queue_;
};

class AbsentAudioPlayer final : public AudioPlayer {
 public:
  explicit AbsentAudioPlayer(std::shared_ptr<MainQueue> queue) : queue_(std::move(queue)) {}
  void playAsset(const std::string& name, std::function<void(bool)> finished) override {
    refuse("sound " + name, std::move(finished));
  }
  void playFile(const std::string& path, std::function<void(bool)> finished) override {
    refuse(path, std::move(finished));
  }
  void stop() override {}
  double currentTime() const override { return 0; }

 private:
  void refuse(const std::string& what, std::function<void(bool)> finished) {
    logLine("No sound player; " + what + " cannot be played");
    queue_->async([finished = std::move(finished)] { finished(false); });
  }
  std::shared_ptr<MainQueue> queue_;
};

class AbsentAudioRecorder final : public AudioRecorder {
 public:
  explicit AbsentAudioRecorder(std::shared_ptr<MainQueue> queue) : queue_(std::move(queue)) {}
  void requestRecordPermission(std::function<void(bool)> answer) override {
    logLine("No sound recorder; nothing can be recorded");
    queue_->async([answer = std::move(answer)] { answer(false); });
  }
  std::shared_ptr<AudioRecording> record(const std::string&, const Settings&,
                                         std::function<void(bool)>) override {
    return nullptr;
  }

 private:
  std::shared_ptr<MainQueue> queue_;
};

class AbsentCamera final : public Camera {
 public:
  std::shared_ptr<CameraSession> startScanning(
      std::function<void(const std::vector<std::string>&)>) override {
    return refuse();
  }
  std::shared_ptr<CameraSession> startCapture(bool) override { return refuse(); }

 private:
  static std::shared_ptr<CameraSession> refuse() {
    logLine("No camera; nothing can be filmed");
    return nullptr;
  }
};

class AbsentVideoPlayback final : public VideoPlayback {
 public:
  explicit AbsentVideoPlayback(std::shared_ptr<MainQueue> queue) : queue_(std::move(queue)) {}
  void play(const std::string&, std::function<void(const std::string&)> closed) override {
    queue_->async([closed = std::move(closed)] { closed("No movie player"); });
  }

 private:
  std::shared_ptr<MainQueue> queue_;
};

class AbsentMediaExport final : public MediaExport {
 public:
  void exportMP4(const std::string&, const std::string&,
                 std::function<void(std::optional<std::string>)> completion) override {
    completion("No movie exporter");
  }
  std::optional<Image> thumbnail(const std::string&) override { return std::nullopt; }
};

class AbsentUrlOpener final : public UrlOpener {
 public:
  explicit AbsentUrlOpener(std::shared_ptr<MainQueue> queue) : queue_(std::move(queue)) {}
  void open(const std::string&, std::function<void(bool)> completion) override {
    queue_->async([completion = std::move(completion)] { completion(false); });
  }

 private:
  std::shared_ptr<MainQueue> queue_;
};

class AbsentTypeRegistry final : public TypeRegistry {
 public:
  std::optional<std::string> preferredMIMEType(std::string_view) const override {
    return std::nullopt;
  }
};

}  // namespace

Platform withAbsentPortsAnswering(Platform p) {
  if (!p.mainQueue) QUORVEL_FATAL("the platform has no mainQueue");
  const auto& queue = p.mainQueue;
  if (!p.imagePicker) p.imagePicker = std::make_shared<AbsentImagePicker>(queue);
  if (!p.audioPlayer) p.audioPlayer = std::make_shared<AbsentAudioPlayer>(queue);
  if (!p.audioRecorder) p.audioRecorder = std::make_shared<AbsentAudioRecorder>(queue);
  if (!p.camera) p.camera = std::make_shared<AbsentCamera>();
  if (!p.videoPlayback) p.videoPlayback = std::make_shared<AbsentVideoPlayback>(queue);
  if (!p.mediaExport) p.mediaExport = std::make_shared<AbsentMediaExport>();
  if (!p.urlOpener) p.urlOpener = std::make_shared<AbsentUrlOpener>(queue);
  if (!p.typeRegistry) p.typeRegistry = std::make_shared<AbsentTypeRegistry>();
#define QUORVEL_REQUIRE_SLOT(Type, name) \
  if (!p.name) QUORVEL_FATAL("the platform has no " #name);
  QUORVEL_PORTS(QUORVEL_REQUIRE_SLOT)
#undef QUORVEL_REQUIRE_SLOT
  return p;
}

}  // namespace quorvel
