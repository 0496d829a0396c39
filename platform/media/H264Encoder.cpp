#include "media/H264Encoder.h"

#include <wels/codec_api.h>

#include <algorithm>
#include <cmath>

#include "media/Yuv420Picture.h"

namespace quorvel {

namespace {

constexpr int kStartCode = 4;  // OpenH264 writes 00 00 00 01 before each NAL unit
constexpr int kNalSps = 7;
constexpr int kNalPps = 8;
// Enough for a screen's sharp edges (QR codes) at a phone's size and 15 frames a second.
constexpr int kBitsPerPixelSecond = 8;

// Each NAL unit of the encoded layers, its start code off, through visit(type, bytes, size).
template <typename Visit>
void eachNal(const SFrameBSInfo& information, Visit visit) {
  for (int layer = 0; layer < information.iLayerNum; ++layer) {
    const SLayerBSInfo& bits = information.sLayerInfo[layer];
    const unsigned char* at = bits.pBsBuf;
    for (int i = 0; i < bits.iNalCount; ++i) {
      const int length = bits.pNalLengthInByte[i];
      if (length > kStartCode) visit(at[kStartCode] & 0x1F, at + kStartCode, length - kStartCode);
      at += length;
    }
  }
}

}  // namespace

H264Encoder::~H264Encoder() {
  encoder_->Uninitialize();
  WelsDestroySVCEncoder(encoder_);
}

std::unique_ptr<H264Encoder> H264Encoder::open(int width, int height, double framesPerSecond,
                                               std::uint32_t timescale, std::string& error) {
  ISVCEncoder* raw = nullptr;
  if (WelsCreateSVCEncoder(&raw) != 0 || raw == nullptr) {
    error = "cannot open the H.264 encoder";
    return nullptr;
  }
  std::unique_ptr<H264Encoder> encoder(new H264Encoder(raw));
  encoder->timescale_ = timescale;
  int quiet = WELS_LOG_QUIET;  // its messages would land on the host's standard error
  raw->SetOption(ENCODER_OPTION_TRACE_LEVEL, &quiet);
  SEncParamExt parameters;
  raw->GetDefaultParams(&parameters);
  parameters.iUsageType = CAMERA_VIDEO_REAL_TIME;
  parameters.iPicWidth = width & ~1;
  parameters.iPicHeight = height & ~1;
  parameters.fMaxFrameRate = static_cast<float>(framesPerSecond);
  parameters.iTargetBitrate =
      static_cast<int>(std::min<double>(20e6, parameters.iPicWidth * parameters.iPicHeight *
                                                  framesPerSecond * kBitsPerPixelSecond / 15));
  parameters.iRCMode = RC_QUALITY_MODE;
  parameters.bEnableFrameSkip = false;
  parameters.uiIntraPeriod = static_cast<unsigned>(std::max(1L, std::lround(framesPerSecond * 2)));
  parameters.iMultipleThreadIdc = 1;
  parameters.eSpsPpsIdStrategy = CONSTANT_ID;  // the sample description holds the one pair
  parameters.iSpatialLayerNum = 1;
  parameters.iTemporalLayerNum = 1;
  SSpatialLayerConfig& layer = parameters.sSpatialLayers[0];
  layer.iVideoWidth = parameters.iPicWidth;
  layer.iVideoHeight = parameters.iPicHeight;
  layer.fFrameRate = parameters.fMaxFrameRate;
  layer.iSpatialBitrate = parameters.iTargetBitrate;
  layer.sSliceArgument.uiSliceMode = SM_SINGLE_SLICE;
  if (raw->InitializeExt(&parameters) != 0) {
    error = "cannot open the H.264 encoder for " + std::to_string(width) + " x " +
            std::to_string(height);
    return nullptr;
  }
  int format = videoFormatI420;
  raw->SetOption(ENCODER_OPTION_DATAFORMAT, &format);

  SFrameBSInfo sets{};
  if (raw->EncodeParameterSets(&sets) != cmResultSuccess) {
    error = "the H.264 encoder gave no parameter sets";
    return nullptr;
  }
  std::vector<std::uint8_t> sps, pps;
  eachNal(sets, [&](int type, const unsigned char* bytes, int size) {
    if (type == kNalSps && sps.empty()) sps.assign(bytes, bytes + size);
    if (type == kNalPps && pps.empty()) pps.assign(bytes, bytes + size);
  });
  if (sps.size() < 4 || pps.empty()) {
    error = "the H.264 encoder gave no parameter sets";
    return nullptr;
  }
  // avcC: version, profile, compatibility, level, 4-byte lengths, one SPS, one PPS.
  auto& record = encoder->configuration_;
  record = {1,
            sps[1],
            sps[2],
            sps[3],
            0xFF,
            0xE1,
            static_cast<std::uint8_t>(sps.size() >> 8),
            static_cast<std::uint8_t>(sps.size())};
  record.insert(record.end(), sps.begin(), sps.end());
  record.insert(record.end(), {1, static_cast<std::uint8_t>(pps.size() >> 8),
                               static_cast<std::uint8_t>(pps.size())});
  record.insert(record.end(), pps.begin(), pps.end());
  return encoder;
}

std::optional<H264Encoder::Sample> H264Encoder::encode(Yuv420Picture& picture, std::int64_t time,
                                                       std::string& error) {
  SSourcePicture source{};
  source.iColorFormat = videoFormatI420;
  source.iPicWidth = picture.width();
  source.iPicHeight = picture.height();
  for (int i = 0; i < 3; ++i) {
    source.iStride[i] = picture.stride(i);
    source.pData[i] = picture.plane(i);
  }
  source.uiTimeStamp = time * 1000 / timescale_;  // its rate control counts milliseconds
  SFrameBSInfo information{};
  if (encoder_->EncodeFrame(&source, &information) != cmResultSuccess) {
    error = "the H.264 encoder failed";
    return std::nullopt;
  }
  if (information.eFrameType == videoFrameTypeSkip ||
      information.eFrameType == videoFrameTypeInvalid) {
    return std::nullopt;
  }
  Sample sample;
  sample.time = time;
  sample.sync = information.eFrameType == videoFrameTypeIDR;
  // The parameter sets an IDR repeats are the sample description's already.
  eachNal(information, [&](int type, const unsigned char* bytes, int size) {
    if (type == kNalSps || type == kNalPps) return;
    const auto length = static_cast<std::uint32_t>(size);
    sample.data.insert(
        sample.data.end(),
        {static_cast<std::uint8_t>(length >> 24), static_cast<std::uint8_t>(length >> 16),
         static_cast<std::uint8_t>(length >> 8), static_cast<std::uint8_t>(length)});
    sample.data.insert(sample.data.end(), bytes, bytes + size);
  });
  if (sample.data.empty()) return std::nullopt;
  return sample;
}

}  // namespace quorvel
