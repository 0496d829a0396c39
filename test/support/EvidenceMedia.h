#pragma once

// Evidence for the assets server's judges, made with the SDK's own encoders (MovieWriter: H.264 +
// AAC in QuickTime, AAC in .m4a) as the virtual devices make it: front-video films of a screen
// filmed in a mirror, full frame or as a camera sees it, and sound recordings.

#include <cstdint>
#include <string>
#include <vector>

namespace quorvel::testing {

struct FilmScript {
  int width = 390;
  int height = 844;
  double framesPerSecond = 15;
  // As a camera films it: the screen at 60 % of the frame's width, slightly turned, over a
  // textured room, with sensor noise, a little blur, black lifted to grey and a warm white
  // balance. Otherwise the screen fills the frame.
  bool camera = false;
  // The camera's screen width as a share of the frame's, and a room of blue walls instead of
  // wood (the sequence's own blue everywhere).
  double screenShare = 0.6;
  bool blueRoom = false;
  // Seconds of the instructions screen before the start code, and how long each code shows (as
  // in a virtual device's film: the start code from 1.9 s for 1.5 s, the end code 0.5 s).
  double lead = 1.9;
  double startShown = 1.5;
  double endShown = 0.5;
  std::string startCode;
  std::string endCode;  // empty: no end code is shown
  // A code shown in the lead's last 0.6 s, before the start code (empty: none).
  std::string earlierCode;
  // The colour steps shown one second each, as indexes into the colour sequence (-1: white).
  std::vector<int> steps = {0, 1, 2, 3, 4};
  bool blackPicture = false;  // every frame black (the sound stays)
  bool withSound = true;
  unsigned seed = 1;
};

// Writes the film to path (a .mov); false with error when writing failed.
bool writeFilm(const std::string& path, const FilmScript& script, std::string& error);
// The film's length in seconds.
double filmSeconds(const FilmScript& script);

// Writes mono samples in -1...1 at rate as an AAC .m4a, as the SDK's recorder does.
bool writeRecording(const std::string& path, const std::vector<float>& samples, int rate,
                    std::string& error);
// A sound of resources/sounds at rate, in -1...1 (empty when it is missing).
std::vector<float> soundResource(const std::string& name, int rate);

// A timestamp as the SDK writes them, for milliseconds since 1970 UTC, in offset minutes' zone.
std::string timestampText(std::int64_t millis, int offsetMinutes = 0);

}  // namespace quorvel::testing
