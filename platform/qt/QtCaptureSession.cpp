#include "qt/QtCaptureSession.h"

#include <QAudioDevice>
#include <QAudioInput>
#include <QCamera>
#include <QFile>
#include <QFileInfo>
#include <QMediaCaptureSession>
#include <QMediaDevices>
#include <QMediaFormat>
#include <QMediaRecorder>
#include <QUrl>
#include <QVideoFrame>
#include <QVideoSink>

#include "support/Logging.h"

namespace quorvel {

// What the Qt objects' handlers share with the session; it outlives the session while a recording
// closes its file. GUI thread only.
struct QtCaptureSession::State {
  std::shared_ptr<MainQueue> mainQueue;
  std::function<void()> pictureChanged;
  QVideoFrame frame;
  // A camera that failed still sends placeholder frames; those are not the camera's picture.
  bool cameraFailed = false;
  bool stopped = false;
  bool released = false;
  // The running recording's completion.
  std::function<void(std::optional<std::string> error)> finished;

  void endRecording(std::optional<std::string> error) {
    auto done = std::exchange(finished, nullptr);
    if (done) mainQueue->async([done = std::move(done), error] { done(error); });
  }
};

QtCaptureSession::QtCaptureSession(const QCameraDevice& device, bool withMicrophone,
                                   std::shared_ptr<MainQueue> mainQueue,
                                   std::function<void()> pictureChanged)
    : state_(std::make_shared<State>()), rig_(new QObject) {
  state_->mainQueue = std::move(mainQueue);
  state_->pictureChanged = std::move(pictureChanged);
  camera_ = new QCamera(device, rig_);
  recorder_ = new QMediaRecorder(rig_);
  auto* session = new QMediaCaptureSession(rig_);
  auto* sink = new QVideoSink(rig_);
  session->setCamera(camera_);
  session->setVideoSink(sink);
  session->setRecorder(recorder_);
  if (withMicrophone && !QMediaDevices::audioInputs().isEmpty()) {
    session->setAudioInput(new QAudioInput(QMediaDevices::defaultAudioInput(), rig_));
    hasMicrophone_ = true;
  }

  // Frames may come from the backend's thread; the rig's context brings them to the GUI thread.
  QObject::connect(sink, &QVideoSink::videoFrameChanged, rig_,
                   [state = state_](const QVideoFrame& frame) {
                     if (state->stopped || state->cameraFailed) return;
                     state->frame = frame;
                     if (state->pictureChanged) state->pictureChanged();
                   });
  QObject::connect(camera_, &QCamera::errorOccurred, rig_,
                   [state = state_](QCamera::Error, const QString& message) {
                     logLine("the camera failed: " + message.toStdString());
                     state->cameraFailed = true;
                     state->frame = {};
                     if (state->pictureChanged) state->pictureChanged();
                   });
  // Once the recorder has closed its file: the recording's end, then what waited for it.
  auto closed = [state = state_, camera = camera_, rig = rig_] {
    if (state->stopped) camera->stop();
    if (state->released) rig->deleteLater();
  };
  QObject::connect(recorder_, &QMediaRecorder::recorderStateChanged, rig_,
                   [state = state_, closed](QMediaRecorder::RecorderState recorderState) {
                     if (recorderState != QMediaRecorder::StoppedState) return;
                     state->endRecording(std::nullopt);
                     closed();
                   });
  QObject::connect(recorder_, &QMediaRecorder::errorOccurred, rig_,
                   [state = state_, recorder = recorder_, closed](QMediaRecorder::Error,
                                                                  const QString& message) {
                     logLine("the camera's recording failed: " + message.toStdString());
                     state->endRecording(message.toStdString());
                     if (recorder->recorderState() == QMediaRecorder::StoppedState) closed();
                   });
  camera_->start();
}

QtCaptureSession::~QtCaptureSession() {
  stop();
  state_->released = true;
  if (recorder_->recorderState() == QMediaRecorder::StoppedState) delete rig_;
}

void QtCaptureSession::stop() {
  if (state_->stopped) return;
  state_->stopped = true;
  state_->frame = {};
  if (auto changed = std::exchange(state_->pictureChanged, nullptr)) changed();
  // The camera keeps running until the recorder has closed the file.
  if (recorder_->recorderState() != QMediaRecorder::StoppedState) {
    recorder_->stop();
  } else {
    camera_->stop();
  }
}

bool QtCaptureSession::startRecording(
    const std::string& moviePath, std::function<void(std::optional<std::string> error)> finished) {
  if (state_->stopped || state_->finished ||
      recorder_->recorderState() != QMediaRecorder::StoppedState) {
    return false;
  }
  const QString path = QString::fromStdString(moviePath);
  QFile::remove(path);
  QMediaFormat format(QFileInfo(path).suffix().compare("mp4", Qt::CaseInsensitive) == 0
                          ? QMediaFormat::MPEG4
                          : QMediaFormat::QuickTime);
  format.setVideoCodec(QMediaFormat::VideoCodec::H264);
  if (hasMicrophone_) format.setAudioCodec(QMediaFormat::AudioCodec::AAC);
  // What the backend cannot encode is swapped for what it can.
  format.resolveForEncoding(QMediaFormat::RequiresVideo);
  recorder_->setMediaFormat(format);
  recorder_->setOutputLocation(QUrl::fromLocalFile(path));
  state_->finished = std::move(finished);
  recorder_->record();
  return true;
}

void QtCaptureSession::stopRecording() {
  if (recorder_->recorderState() != QMediaRecorder::StoppedState) recorder_->stop();
}

QImage QtCaptureSession::picture() const {
  return state_->frame.isValid() ? state_->frame.toImage() : QImage();
}

}  // namespace quorvel
