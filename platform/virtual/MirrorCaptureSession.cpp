#include "MirrorCaptureSession.h"

#include <chrono>
#include <cmath>
#include <system_error>

namespace quorvel {

namespace {

// Movies at most this long on their long side, in even sizes.
constexpr int kLongSide = 1280;

QSize movieSize(QSize window) {
  const double scale = std::min(1.0, double(kLongSide) / std::max(window.width(), window.height()));
  auto even = [&](int side) {
    return std::max(2, static_cast<int>(std::lround(side * scale)) & ~1);
  };
  return {even(window.width()), even(window.height())};
}

}  // namespace

MirrorCaptureSession::MirrorCaptureSession(std::function<QQuickWindow*()> window,
                                           std::function<void(const QImage&)> preview,
                                           std::shared_ptr<const VirtualRoom> room,
                                           bool withMicrophone,
                                           std::shared_ptr<MainQueue> mainQueue)
    : window_(window),
      preview_(std::move(preview)),
      room_(std::move(room)),
      withMicrophone_(withMicrophone && room_),
      mainQueue_(std::move(mainQueue)),
      film_(std::move(window), [this](const QImage& frame) { filmed(frame); }) {
  film_.start();
}

MirrorCaptureSession::~MirrorCaptureSession() {
  stop();
  joinClosers();
}

void MirrorCaptureSession::stop() {
  if (stopped_) return;
  stopped_ = true;
  film_.stop();
  stopRecording();
  latest_ = QImage();
  if (preview_) preview_(QImage());  // the preview goes blank with the session
}

double MirrorCaptureSession::now() const {
  if (room_) return room_->now();
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

void MirrorCaptureSession::filmed(const QImage& frame) {
  latest_ = frame;
  if (preview_) preview_(frame);
  if (writer_) {
    record(frame, now() - startedAt_);
    hear();
  }
}

void MirrorCaptureSession::record(const QImage& frame, double seconds) {
  writer_->addVideoFrame(frame.constBits(), frame.width(), frame.height(),
                         static_cast<int>(frame.bytesPerLine()), seconds);
}

void MirrorCaptureSession::hear() {
  if (!microphone_) return;
  const std::vector<std::int16_t> samples = microphone_->take();
  writer_->addAudio(samples.data(), samples.size());
}

bool MirrorCaptureSession::startRecording(
    const std::string& moviePath, std::function<void(std::optional<std::string> error)> finished) {
  if (stopped_ || writer_) return false;
  joinClosers();  // the movies before are closed by now
  QQuickWindow* window = window_();
  const QSize size = window ? window->size() : latest_.deviceIndependentSize().toSize();
  std::string error = "the camera has nothing in view to record";
  if (!size.isEmpty()) {
    MovieWriter::Options options;
    options.width = movieSize(size).width();
    options.height = movieSize(size).height();
    options.framesPerSecond = MirrorFilm::kFramesPerSecond;
    options.audioSampleRate = withMicrophone_ ? VirtualRoom::kSampleRate : 0;
    writer_ = MovieWriter::open(moviePath, options, error);
  }
  if (!writer_) {
    mainQueue_->async([finished = std::move(finished), error] { finished(error); });
    return true;
  }
  finished_ = std::move(finished);
  if (withMicrophone_) microphone_.emplace(room_);
  startedAt_ = microphone_ ? microphone_->startedAt() : now();
  // The movie opens on what is in view now rather than on the next frame.
  if (!latest_.isNull()) record(latest_, 0);
  return true;
}

void MirrorCaptureSession::stopRecording() {
  if (!writer_) return;
  hear();
  microphone_.reset();
  // finish() waits for the encoder: off the GUI thread, and back on the main queue.
  auto close = [writer = std::shared_ptr<MovieWriter>(std::move(writer_)),
                finished = std::move(finished_), queue = mainQueue_] {
    std::optional<std::string> error = writer->finish();
    queue->async([finished, error] {
      if (finished) finished(error);
    });
  };
  try {
    closers_.emplace_back(close);
  } catch (const std::system_error&) {
    close();  // no thread to spare: close it here
  }
}

void MirrorCaptureSession::joinClosers() {
  for (std::thread& closer : closers_) closer.join();
  closers_.clear();
}

}  // namespace quorvel
