#include "WordRecogniser.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <memory>
#include <mutex>

#include "SpokenWordJudge.h"
#include "tests/audio/WordLists.h"

#if QUORVEL_WITH_POCKETSPHINX
#include <pocketsphinx.h>
#include <sphinxbase/cmd_ln.h>
#include <sphinxbase/err.h>
#include <sphinxbase/fsg_model.h>
#include <sphinxbase/jsgf.h>
#endif

namespace quorvel {

namespace {

nlohmann::json unknown(const std::string& why) { return {{"verdict", "unknown"}, {"why", why}}; }

#if QUORVEL_WITH_POCKETSPHINX
// The words of the list as the only sentences the decoder may hear: the test shows one of them.
std::string grammarOf(const std::vector<std::string>& words) {
  std::string grammar = "#JSGF V1.0;\ngrammar words;\npublic <word> = ";
  for (std::size_t i = 0; i < words.size(); ++i) grammar += (i ? " | " : "") + words[i];
  return grammar + ";\n";
}

// ps_set_jsgf_string of PocketSphinx 0.8 keeps the parsed grammar forever: the same steps, with
// the grammar freed.
bool useGrammar(ps_decoder_t* decoder, const std::string& text) {
  jsgf_t* grammar = jsgf_parse_string(text.c_str(), nullptr);
  if (grammar == nullptr) return false;
  jsgf_rule_t* rule = jsgf_get_public_rule(grammar);
  fsg_model_t* fsg = nullptr;
  if (rule != nullptr) {
    fsg = jsgf_build_fsg(grammar, rule, ps_get_logmath(decoder),
                         cmd_ln_float32_r(ps_get_config(decoder), "-lw"));
  }
  const bool set = fsg != nullptr && ps_set_fsg(decoder, "words", fsg) >= 0;
  if (fsg != nullptr) fsg_model_free(fsg);
  jsgf_grammar_free(grammar);
  return set;
}

struct DecoderDeleter {
  void operator()(ps_decoder_t* decoder) const { ps_free(decoder); }
};

// Which of words the 16 kHz samples say; nothing when the model cannot be loaded or nothing is
// heard.
std::optional<std::string> recognise(const std::vector<float>& samples,
                                     const std::vector<std::string>& words, std::string& error) {
  // The decoder's log goes to stderr for every utterance.
  static std::once_flag quiet;
  std::call_once(quiet, [] { err_set_logfp(nullptr); });
  const std::string model = QUORVEL_POCKETSPHINX_MODELDIR "/en-us";
  cmd_ln_t* config = cmd_ln_init(nullptr, ps_args(), TRUE, "-hmm", (model + "/en-us").c_str(),
                                 "-dict", (model + "/cmudict-en-us.dict").c_str(), nullptr);
  if (config == nullptr) {
    error = "the English speech model is not installed on this server";
    return std::nullopt;
  }
  // One decoder a judgement: decoders are not shared between threads.
  std::unique_ptr<ps_decoder_t, DecoderDeleter> decoder(ps_init(config));
  cmd_ln_free_r(config);
  if (!decoder) {
    error = "the English speech model is not installed on this server";
    return std::nullopt;
  }
  if (!useGrammar(decoder.get(), grammarOf(words)) || ps_set_search(decoder.get(), "words") < 0) {
    error = "the word list cannot be recognised";
    return std::nullopt;
  }
  std::vector<std::int16_t> pcm(samples.size());
  std::transform(samples.begin(), samples.end(), pcm.begin(), [](float v) {
    return static_cast<std::int16_t>(std::lround(std::clamp(v, -1.0f, 1.0f) * 32767));
  });
  ps_start_utt(decoder.get());
  ps_process_raw(decoder.get(), pcm.data(), pcm.size(), FALSE, TRUE);
  ps_end_utt(decoder.get());
  std::int32_t score = 0;
  const char* heard = ps_get_hyp(decoder.get(), &score);
  if (heard == nullptr || *heard == '\0') return std::nullopt;
  return std::string(heard);
}
#endif

}  // namespace

bool WordRecogniser::built() { return QUORVEL_WITH_POCKETSPHINX != 0; }

nlohmann::json WordRecogniser::check(const std::vector<float>& samples,
                                     const std::string& shownWord) {
  std::string word = shownWord;
  std::transform(word.begin(), word.end(), word.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  const auto& english = WordLists::readWords(SupportedLanguage::english);
  const auto& portuguese = WordLists::readWords(SupportedLanguage::portuguese);
  const bool isEnglish = std::find(english.begin(), english.end(), word) != english.end();
  if (!isEnglish && std::find(portuguese.begin(), portuguese.end(), word) == portuguese.end()) {
    return unknown("the word shown is not one of the test's words");
  }
  if (!isEnglish) return unknown("this server has no recogniser for Portuguese");
#if QUORVEL_WITH_POCKETSPHINX
  std::string error;
  auto heard = recognise(samples, english, error);
  if (!error.empty()) return unknown(error);
  if (!heard) return {{"verdict", "fail"}, {"why", "no word of the list was recognised"}};
  if (*heard == word) return {{"verdict", "pass"}, {"heard", *heard}};
  return {{"verdict", "fail"}, {"heard", *heard}, {"why", "another word was recognised"}};
#else
  (void)samples;
  return unknown("this server has no speech recogniser");
#endif
}

}  // namespace quorvel
