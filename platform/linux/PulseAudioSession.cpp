#include "linux/PulseAudioSession.h"

#include <pulse/pulseaudio.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <utility>

#include "quorvel/Fatal.h"
#include "quorvel/platform/MainQueue.h"
#include "quorvel/platform/Platform.h"

namespace quorvel {

namespace {

// The server resolves this name to whichever sink is the default at the time.
constexpr const char* kDefaultSink = "@DEFAULT_SINK@";

// Levels come from whole volume steps; closer than half a step is the same level.
constexpr float kSameLevel = 0.5f / static_cast<float>(PA_VOLUME_NORM);

float levelOf(const pa_cvolume& volume) {
  // The loudest channel, as desktop volume controls show it; boosts past 100% read as 1.0.
  return std::min(1.0f,
                  static_cast<float>(pa_cvolume_max(&volume)) / static_cast<float>(PA_VOLUME_NORM));
}

class LoopLock {
 public:
  explicit LoopLock(pa_threaded_mainloop* loop) : loop_(loop) { pa_threaded_mainloop_lock(loop_); }
  ~LoopLock() { pa_threaded_mainloop_unlock(loop_); }
  LoopLock(const LoopLock&) = delete;
  LoopLock& operator=(const LoopLock&) = delete;

 private:
  pa_threaded_mainloop* loop_;
};

}  // namespace

// The connection to the server. Its callbacks run on libpulse's own thread, holding the loop's
// lock, and hand what they learn to the session on the main queue.
class PulseAudioSession::Mixer {
 public:
  Mixer(std::weak_ptr<PulseAudioSession> owner, std::shared_ptr<MainQueue> queue)
      : owner_(std::move(owner)), queue_(std::move(queue)) {}
  ~Mixer() {
    // Stopping joins the loop's thread: no callback runs after this.
    if (loop_) pa_threaded_mainloop_stop(loop_);
    if (context_) {
      pa_context_disconnect(context_);
      pa_context_unref(context_);
    }
    if (loop_) pa_threaded_mainloop_free(loop_);
  }
  Mixer(const Mixer&) = delete;
  Mixer& operator=(const Mixer&) = delete;

  // Connects and reads the default sink, within kConnectSeconds. The level is empty when the
  // server has no default sink; false when there is no server to talk to.
  bool connect(const std::string& server, std::optional<float>& level) {
    loop_ = pa_threaded_mainloop_new();
    if (!loop_) return false;
    context_ = pa_context_new(pa_threaded_mainloop_get_api(loop_), "Quorvel");
    if (!context_ || pa_threaded_mainloop_start(loop_) < 0) return false;
    LoopLock lock(loop_);
    pa_context_set_state_callback(context_, onState, this);
    // Never start a server: the person's session owns it.
    if (pa_context_connect(context_, server.empty() ? nullptr : server.c_str(),
                           PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) {
      return false;
    }
    pa_time_event* deadline = pa_context_rttime_new(
        context_, pa_rtclock_now() + static_cast<pa_usec_t>(kConnectSeconds * PA_USEC_PER_SEC),
        onDeadline, this);
    auto release = [&] {
      if (deadline) pa_threaded_mainloop_get_api(loop_)->time_free(deadline);
    };
    for (;;) {
      pa_context_state_t state = pa_context_get_state(context_);
      if (state == PA_CONTEXT_READY) break;
      if (!PA_CONTEXT_IS_GOOD(state) || timedOut_) {
        release();
        return false;
      }
      pa_threaded_mainloop_wait(loop_);
    }
    pa_context_set_subscribe_callback(context_, onEvent, this);
    pa_operation* subscribing =
        pa_context_subscribe(context_,
                             static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SINK |
                                                                 PA_SUBSCRIPTION_MASK_SERVER),
                             nullptr, nullptr);
    if (subscribing) pa_operation_unref(subscribing);
    pa_operation* reading = pa_context_get_sink_info_by_name(context_, kDefaultSink, onSink, this);
    while (reading && pa_operation_get_state(reading) == PA_OPERATION_RUNNING && !timedOut_) {
      pa_threaded_mainloop_wait(loop_);
    }
    if (reading) pa_operation_unref(reading);
    release();
    if (timedOut_) return false;
    if (sink_) level = levelOf(*sink_);
    reporting_ = true;
    return true;
  }

  // Sets the default sink to level, keeping its balance; false when there is none to set.
  bool write(float level) {
    LoopLock lock(loop_);
    if (!sink_) return false;
    pa_cvolume volume = *sink_;
    pa_cvolume_scale(&volume, static_cast<pa_volume_t>(std::lround(level * PA_VOLUME_NORM)));
    pa_operation* writing =
        pa_context_set_sink_volume_by_name(context_, kDefaultSink, &volume, onWritten, this);
    if (!writing) return false;
    pa_operation_unref(writing);
    return true;
  }

  // Asks for the default sink's level; the answer reaches the session.
  void read() {
    LoopLock lock(loop_);
    requestSink();
  }

 private:
  void requestSink() {
    pa_operation* reading = pa_context_get_sink_info_by_name(context_, kDefaultSink, onSink, this);
    if (reading) pa_operation_unref(reading);
  }

  void post(void (PulseAudioSession::*step)()) {
    queue_->async([owner = owner_, step] {
      if (auto session = owner.lock()) ((*session).*step)();
    });
  }

  static void onState(pa_context* context, void* data) {
    auto* self = static_cast<Mixer*>(data);
    pa_threaded_mainloop_signal(self->loop_, 0);
    if (self->reporting_ && !PA_CONTEXT_IS_GOOD(pa_context_get_state(context))) {
      self->reporting_ = false;
      self->post(&PulseAudioSession::mixerLost);
    }
  }

  static void onDeadline(pa_mainloop_api*, pa_time_event*, const struct timeval*, void* data) {
    auto* self = static_cast<Mixer*>(data);
    self->timedOut_ = true;
    pa_threaded_mainloop_signal(self->loop_, 0);
  }

  static void onEvent(pa_context*, pa_subscription_event_type_t, uint32_t, void* data) {
    // A sink changed, came or went, or the default moved: read the default sink again.
    static_cast<Mixer*>(data)->requestSink();
  }

  static void onSink(pa_context*, const pa_sink_info* info, int eol, void* data) {
    auto* self = static_cast<Mixer*>(data);
    if (info) {
      self->sink_ = info->volume;
      if (self->reporting_) {
        const float level = levelOf(info->volume);
        self->queue_->async([owner = self->owner_, level] {
          if (auto session = owner.lock()) session->mixerReported(level);
        });
      }
    } else if (eol < 0) {
      // No default sink now: keys cannot set one until a sink appears.
      self->sink_.reset();
    }
    pa_threaded_mainloop_signal(self->loop_, 0);
  }

  static void onWritten(pa_context*, int, void* data) {
    static_cast<Mixer*>(data)->post(&PulseAudioSession::writeFinished);
  }

  std::weak_ptr<PulseAudioSession> owner_;
  std::shared_ptr<MainQueue> queue_;
  pa_threaded_mainloop* loop_ = nullptr;
  pa_context* context_ = nullptr;
  // Under the loop's lock.
  std::optional<pa_cvolume> sink_;
  bool timedOut_ = false;
  bool reporting_ = false;
};

PulseAudioSession::PulseAudioSession(std::string server) : server_(std::move(server)) {}

PulseAudioSession::~PulseAudioSession() = default;

float PulseAudioSession::outputVolume() const {
  // The session is never made const: it belongs to the platform through a shared_ptr.
  const_cast<PulseAudioSession*>(this)->connectIfDue();
  return TrackedAudioSession::outputVolume();
}

Subscription PulseAudioSession::observeOutputVolume(std::function<void(float volume)> observer) {
  connectIfDue();
  return TrackedAudioSession::observeOutputVolume(std::move(observer));
}

void PulseAudioSession::outputVolumeDidChange(float volume) {
  connectIfDue();
  TrackedAudioSession::outputVolumeDidChange(volume);
  if (mixer_ && mixer_->write(volume)) ++writesInFlight_;
}

void PulseAudioSession::connectIfDue() {
  if (mixer_) return;
  const auto now = std::chrono::steady_clock::now();
  if (lastAttempt_ && now - *lastAttempt_ < std::chrono::duration<double>(kRetrySeconds)) return;
  lastAttempt_ = now;
  auto owner = weak_from_this();
  if (owner.expired()) QUORVEL_FATAL("a PulseAudioSession is owned by a shared_ptr");
  auto mixer = std::make_unique<Mixer>(owner, platform().mainQueue);
  std::optional<float> level;
  if (!mixer->connect(server_, level)) return;
  mixer_ = std::move(mixer);
  events_ = platform().volumeEvents;
  if (!level) return;
  // The first reading is where the level starts, not a change; after a lost server it may be one.
  if (std::exchange(everConnected_, true)) {
    mixerReported(*level);
  } else {
    startFrom(*level);
  }
}

void PulseAudioSession::mixerReported(float level) {
  if (writesInFlight_ > 0) return;
  if (std::fabs(level - TrackedAudioSession::outputVolume()) < kSameLevel) return;
  TrackedAudioSession::outputVolumeDidChange(level);
  if (events_) events_->report({level, false});
}

void PulseAudioSession::writeFinished() {
  if (writesInFlight_ > 0) --writesInFlight_;
  // The server's reports during the writes were skipped: read where the writes left it.
  if (writesInFlight_ == 0 && mixer_) mixer_->read();
}

void PulseAudioSession::mixerLost() {
  mixer_.reset();
  writesInFlight_ = 0;
}

}  // namespace quorvel
