#include "SoundFeatures.h"

extern "C" {
#include <libavutil/mem.h>
#include <libavutil/tx.h>
}

#include <algorithm>
#include <cmath>
#include <memory>

namespace quorvel {

std::vector<double> SoundFeatures::levels(const std::vector<float>& samples, std::size_t length,
                                          std::size_t hop) {
  std::vector<double> levels;
  if (length == 0 || hop == 0) return levels;
  for (std::size_t at = 0; at + length <= samples.size(); at += hop) {
    double energy = 0;
    for (std::size_t i = at; i < at + length; ++i) energy += double(samples[i]) * samples[i];
    const double meanSquare = energy / static_cast<double>(length);
    levels.push_back(meanSquare <= 1e-12 ? -120.0 : 10 * std::log10(meanSquare));
  }
  return levels;
}

std::vector<std::vector<float>> SoundFeatures::spectra(const std::vector<float>& samples,
                                                       std::size_t length, std::size_t hop) {
  std::vector<std::vector<float>> spectra;
  if (length < 2 || hop == 0 || (length & (length - 1)) != 0) return spectra;
  AVTXContext* raw = nullptr;
  av_tx_fn transform = nullptr;
  const float scale = 1.0f;
  if (av_tx_init(&raw, &transform, AV_TX_FLOAT_FFT, 0, static_cast<int>(length), &scale, 0) < 0) {
    return spectra;
  }
  std::unique_ptr<AVTXContext, void (*)(AVTXContext*)> context(
      raw, [](AVTXContext* p) { av_tx_uninit(&p); });
  std::vector<float> window(length);
  for (std::size_t i = 0; i < length; ++i) {
    window[i] = static_cast<float>(0.5 - 0.5 * std::cos(2 * M_PI * i / length));
  }
  // The transform's SIMD code needs av_malloc's alignment.
  std::unique_ptr<AVComplexFloat, void (*)(void*)> inBuffer(
      static_cast<AVComplexFloat*>(av_malloc(length * sizeof(AVComplexFloat))), av_free);
  std::unique_ptr<AVComplexFloat, void (*)(void*)> outBuffer(
      static_cast<AVComplexFloat*>(av_malloc(length * sizeof(AVComplexFloat))), av_free);
  if (!inBuffer || !outBuffer) return spectra;
  AVComplexFloat* in = inBuffer.get();
  AVComplexFloat* out = outBuffer.get();
  for (std::size_t at = 0; at + length <= samples.size(); at += hop) {
    for (std::size_t i = 0; i < length; ++i) in[i] = {samples[at + i] * window[i], 0.0f};
    transform(context.get(), out, in, sizeof(AVComplexFloat));
    std::vector<float> power(length / 2 + 1);
    for (std::size_t k = 0; k < power.size(); ++k) {
      power[k] = out[k].re * out[k].re + out[k].im * out[k].im;
    }
    spectra.push_back(std::move(power));
  }
  return spectra;
}

double SoundFeatures::percentile(std::vector<double> values, double fraction) {
  if (values.empty()) return 0;
  const auto index = static_cast<std::size_t>(std::clamp(fraction, 0.0, 1.0) *
                                              static_cast<double>(values.size() - 1));
  std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(index),
                   values.end());
  return values[index];
}

}  // namespace quorvel
