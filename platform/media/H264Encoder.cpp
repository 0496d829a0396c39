#include "media/H264Encoder.h"

#include <cmath>
#include <cstdint>

extern "C" {
#include <x264.h>
}

#include "media/Yuv420Picture.h"

namespace quorvel {

namespace {

// x264 writes each NAL unit with a 4-byte length in front when it does not write start codes.
constexpr int kLengthBytes = 4;

H264Encoder::Sample sampleOf(const x264_nal_t* nals, int count, const x264_picture_t& picture) {
  H264Encoder::Sample sample;
  for (int i = 0; i < count; ++i) {
    sample.data.insert(sample.data.end(), nals[i].p_payload, nals[i].p_payload + nals[i].i_payload);
  }
  sample.time = picture.i_pts;
  sample.sync = picture.b_keyframe != 0;
  return sample;
}

}  // namespace

H264Encoder::~H264Encoder() { x264_encoder_close(encoder_); }

std::unique_ptr<H264Encoder> H264Encoder::open(int width, int height, double framesPerSecond,
                                               std::uint32_t timescale, std::string& error) {
  x264_param_t parameters;
  if (x264_param_default_preset(&parameters, "veryfast", "zerolatency") < 0) {
    error = "x264 has no preset veryfast";
    return nullptr;
  }
  parameters.i_log_level = X264_LOG_NONE;  // its statistics would land on the host's stderr
  parameters.i_threads = 1;
  parameters.i_lookahead_threads = 1;
  parameters.b_sliced_threads = 0;
  parameters.i_width = width & ~1;
  parameters.i_height = height & ~1;
  parameters.i_csp = X264_CSP_I420;
  const auto rate = static_cast<std::uint32_t>(std::lround(framesPerSecond * 1000));
  parameters.i_fps_num = rate;
  parameters.i_fps_den = 1000;
  parameters.b_vfr_input = 1;
  parameters.i_timebase_num = 1;
  parameters.i_timebase_den = timescale;
  parameters.i_keyint_max = std::max(1, static_cast<int>(std::lround(framesPerSecond * 2)));
  parameters.b_repeat_headers = 0;  // the parameter sets live in the sample description
  parameters.b_annexb = 0;
  if (x264_param_apply_profile(&parameters, "high") < 0) {
    error = "x264 cannot encode the high profile";
    return nullptr;
  }
  x264_t* encoder = x264_encoder_open(&parameters);
  if (encoder == nullptr) {
    error = "cannot open the H.264 encoder for " + std::to_string(width) + " x " +
            std::to_string(height);
    return nullptr;
  }
  std::unique_ptr<H264Encoder> result(new H264Encoder(encoder));

  x264_nal_t* nals = nullptr;
  int count = 0;
  if (x264_encoder_headers(encoder, &nals, &count) < 0) {
    error = "the H.264 encoder gave no parameter sets";
    return nullptr;
  }
  const x264_nal_t* sps = nullptr;
  const x264_nal_t* pps = nullptr;
  for (int i = 0; i < count; ++i) {
    if (nals[i].i_type == NAL_SPS) sps = &nals[i];
    if (nals[i].i_type == NAL_PPS) pps = &nals[i];
  }
  if (sps == nullptr || pps == nullptr || sps->i_payload < kLengthBytes + 4) {
    error = "the H.264 encoder gave no parameter sets";
    return nullptr;
  }
  // avcC: version, profile, compatibility, level, 4-byte lengths, one SPS, one PPS.
  const std::uint8_t* spsBytes = sps->p_payload + kLengthBytes;
  const int spsSize = sps->i_payload - kLengthBytes;
  const std::uint8_t* ppsBytes = pps->p_payload + kLengthBytes;
  const int ppsSize = pps->i_payload - kLengthBytes;
  auto& record = result->configuration_;
  record = {1,
            spsBytes[1],
            spsBytes[2],
            spsBytes[3],
            0xFC | (kLengthBytes - 1),
            0xE1,
            static_cast<std::uint8_t>(spsSize >> 8),
            static_cast<std::uint8_t>(spsSize)};
  record.insert(record.end(), spsBytes, spsBytes + spsSize);
  record.insert(record.end(),
                {1, static_cast<std::uint8_t>(ppsSize >> 8), static_cast<std::uint8_t>(ppsSize)});
  record.insert(record.end(), ppsBytes, ppsBytes + ppsSize);
  return result;
}

std::optional<H264Encoder::Sample> H264Encoder::encode(Yuv420Picture& picture, std::int64_t time,
                                                       std::string& error) {
  x264_picture_t in, out;
  x264_picture_init(&in);
  in.img.i_csp = X264_CSP_I420;
  in.img.i_plane = 3;
  for (int i = 0; i < 3; ++i) {
    in.img.plane[i] = picture.plane(i);
    in.img.i_stride[i] = picture.stride(i);
  }
  in.i_pts = time;
  x264_nal_t* nals = nullptr;
  int count = 0;
  const int size = x264_encoder_encode(encoder_, &nals, &count, &in, &out);
  if (size < 0) {
    error = "the H.264 encoder failed";
    return std::nullopt;
  }
  if (size == 0) return std::nullopt;
  return sampleOf(nals, count, out);
}

std::vector<H264Encoder::Sample> H264Encoder::flush(std::string& error) {
  std::vector<Sample> samples;
  while (x264_encoder_delayed_frames(encoder_) > 0) {
    x264_nal_t* nals = nullptr;
    int count = 0;
    x264_picture_t out;
    const int size = x264_encoder_encode(encoder_, &nals, &count, nullptr, &out);
    if (size < 0) {
      error = "the H.264 encoder failed";
      break;
    }
    if (size > 0) samples.push_back(sampleOf(nals, count, out));
  }
  return samples;
}

}  // namespace quorvel
