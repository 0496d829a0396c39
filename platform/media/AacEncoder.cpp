#include "media/AacEncoder.h"

#include <algorithm>
#include <array>

extern "C" {
#include <vo-aacenc/cmnMemory.h>
#include <vo-aacenc/voAAC.h>
}

namespace quorvel {

namespace {

constexpr std::array<int, 13> kRates = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                        22050, 16000, 12000, 11025, 8000,  7350};
// The most a frame can carry: 6144 bits per channel.
constexpr std::size_t kLargestFrame = 768 * 2;

}  // namespace

struct AacEncoder::Codec {
  VO_AUDIO_CODECAPI api{};
  VO_MEM_OPERATOR memory{};  // the library's own allocator, which it insists on being handed
  VO_CODEC_INIT_USERDATA user{};
  VO_HANDLE handle = nullptr;
  ~Codec() {
    if (handle != nullptr) api.Uninit(handle);
  }
};

AacEncoder::~AacEncoder() = default;

std::unique_ptr<AacEncoder> AacEncoder::open(int sampleRate, int channels, std::string& error) {
  const auto index = std::find(kRates.begin(), kRates.end(), sampleRate) - kRates.begin();
  if (index == static_cast<std::ptrdiff_t>(kRates.size()) || channels < 1 || channels > 2) {
    error = "AAC cannot carry " + std::to_string(channels) + " channels at " +
            std::to_string(sampleRate) + " Hz";
    return nullptr;
  }
  std::unique_ptr<AacEncoder> encoder(new AacEncoder);
  encoder->codec_ = std::make_unique<Codec>();
  Codec& codec = *encoder->codec_;
  voGetAACEncAPI(&codec.api);
  codec.memory.Alloc = cmnMemAlloc;
  codec.memory.Free = cmnMemFree;
  codec.memory.Set = cmnMemSet;
  codec.memory.Copy = cmnMemCopy;
  codec.memory.Check = cmnMemCheck;
  codec.user.memflag = VO_IMF_USERMEMOPERATOR;
  codec.user.memData = &codec.memory;
  if (codec.api.Init(&codec.handle, VO_AUDIO_CodingAAC, &codec.user) != VO_ERR_NONE) {
    codec.handle = nullptr;
    error = "cannot open the AAC encoder";
    return nullptr;
  }
  // 64 kbit/s a channel, within what a frame holds at low rates.
  encoder->channels_ = channels;
  encoder->bitRate_ = static_cast<std::uint32_t>(std::min(64000, sampleRate * 6) * channels);
  AACENC_PARAM parameters{};
  parameters.sampleRate = sampleRate;
  parameters.bitRate = static_cast<int>(encoder->bitRate_);
  parameters.nChannels = static_cast<short>(channels);
  parameters.adtsUsed = 0;
  if (codec.api.SetParam(codec.handle, VO_PID_AAC_ENCPARAM, &parameters) != VO_ERR_NONE) {
    error = "the AAC encoder refuses " + std::to_string(sampleRate) + " Hz";
    return nullptr;
  }
  // AAC-LC (object type 2), the rate's index, the channel configuration.
  const auto config = static_cast<unsigned>(2 << 11 | index << 7 | channels << 3);
  encoder->config_ = {static_cast<std::uint8_t>(config >> 8), static_cast<std::uint8_t>(config)};
  return encoder;
}

std::optional<std::vector<std::uint8_t>> AacEncoder::encode(const std::int16_t* samples,
                                                            std::string& error) {
  VO_CODECBUFFER input{};
  input.Buffer = reinterpret_cast<VO_PBYTE>(const_cast<std::int16_t*>(samples));
  input.Length = static_cast<VO_U32>(kFrameSamples * channels_ * sizeof(std::int16_t));
  if (codec_->api.SetInputData(codec_->handle, &input) != VO_ERR_NONE) {
    error = "the AAC encoder failed";
    return std::nullopt;
  }
  std::vector<std::uint8_t> frame(kLargestFrame);
  VO_CODECBUFFER output{};
  output.Buffer = frame.data();
  output.Length = static_cast<VO_U32>(frame.size());
  VO_AUDIO_OUTPUTINFO information{};
  if (codec_->api.GetOutputData(codec_->handle, &output, &information) != VO_ERR_NONE) {
    error = "the AAC encoder failed";
    return std::nullopt;
  }
  frame.resize(output.Length);
  return frame;
}

}  // namespace quorvel
