#include "qt/QtAudioRecorder.h"

#include <QAudioSource>
#include <QIODevice>
#include <QMediaDevices>
#include <vector>

#include "media/PcmRecording.h"
#include "quorvel/Fatal.h"
#include "support/Logging.h"

namespace quorvel {

namespace {

// 16-bit samples of any channel count, mixed down to one channel when the recording has one.
void feed(PcmRecording& recording, const QByteArray& bytes, int channels, int wanted) {
  const auto* samples = reinterpret_cast<const std::int16_t*>(bytes.constData());
  const std::size_t frames = static_cast<std::size_t>(bytes.size()) / sizeof(std::int16_t) /
                             static_cast<std::size_t>(channels);
  if (channels == wanted) {
    recording.add(samples, frames);
    return;
  }
  std::vector<std::int16_t> mono(frames);
  for (std::size_t i = 0; i < frames; ++i) {
    int sum = 0;
    for (int c = 0; c < channels; ++c) sum += samples[i * static_cast<std::size_t>(channels) + c];
    mono[i] = static_cast<std::int16_t>(sum / channels);
  }
  recording.add(mono.data(), frames);
}

}  // namespace

QtAudioRecorder::QtAudioRecorder(std::shared_ptr<MainQueue> mainQueue)
    : mainQueue_(std::move(mainQueue)) {
  if (!mainQueue_) QUORVEL_FATAL("the sound recorder needs a main queue");
}

void QtAudioRecorder::requestRecordPermission(std::function<void(bool granted)> answer) {
  const bool granted = !QMediaDevices::defaultAudioInput().isNull();
  mainQueue_->async([answer = std::move(answer), granted] { answer(granted); });
}

std::shared_ptr<AudioRecording> QtAudioRecorder::record(
    const std::string& path, const Settings& settings,
    std::function<void(bool successfully)> finished) {
  const QAudioDevice input = QMediaDevices::defaultAudioInput();
  if (input.isNull()) {
    logLine("No sound input to record");
    return nullptr;
  }
  // 16-bit at the input's own rate; one channel where it can, else downmixed here.
  QAudioFormat format = input.preferredFormat();
  format.setSampleFormat(QAudioFormat::Int16);
  format.setChannelCount(settings.channels);
  if (!input.isFormatSupported(format))
    format.setChannelCount(input.preferredFormat().channelCount());
  const bool usable = input.isFormatSupported(format) &&
                      (format.channelCount() == settings.channels || settings.channels == 1);
  if (!usable) {
    logLine("The sound input records no 16-bit sound");
    return nullptr;
  }
  std::string error;
  auto recording = PcmRecording::open(path, settings, format.sampleRate(), mainQueue_,
                                      std::move(finished), error);
  if (!recording) {
    logLine("The recording cannot start: " + error);
    return nullptr;
  }
  auto* source = new QAudioSource(input, format);
  QIODevice* stream = source->start();
  if (stream == nullptr) {
    delete source;
    recording->fail("the sound input did not start");
    return nullptr;
  }
  std::weak_ptr<PcmRecording> weak = recording;
  const int channels = format.channelCount();
  const int wanted = settings.channels;
  auto take = [weak, stream, channels, wanted] {
    if (auto alive = weak.lock()) feed(*alive, stream->readAll(), channels, wanted);
  };
  QObject::connect(stream, &QIODevice::readyRead, source, take);
  QObject::connect(source, &QAudioSource::stateChanged, source, [weak, source](QAudio::State) {
    if (source->error() == QAudio::NoError) return;
    if (auto alive = weak.lock()) alive->fail("the sound input stopped");
  });
  // Stopping takes what is buffered, then lets the input go.
  recording->setOnEnd([source, take] {
    take();
    source->stop();
    source->deleteLater();
  });
  return recording;
}

}  // namespace quorvel
