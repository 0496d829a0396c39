#pragma once

// The colours the front-video tests show between their two QR codes, filmed by the front camera in
// a mirror: the screen that shows them and the server's judge of the film both read this table,
// so the sequence is written once. Constant data only, no toolkit.

#include <string_view>

#include "quorvel/Color.h"

namespace quorvel::colour_sequence {

// One second of one colour: when it starts (seconds after the sequence starts), its name, the
// full-screen background and the MD5 label's colour over it.
struct Step {
  double at;
  std::string_view name;
  Color background;
  Color label;
};

inline constexpr Step kSteps[] = {{0, "blue", Color{0, 0, 1, 1}, Color::white()},
                                  {1, "yellow", Color{1, 1, 0, 1}, Color::black()},
                                  {2, "red", Color{1, 0, 0, 1}, Color::white()},
                                  {3, "black", Color::black(), Color::white()},
                                  {4, "green", Color{0, 1, 0, 1}, Color::black()}};
// The end code replaces the colours at this moment, and the sequence ends (the recording stops)
// at kEndAt.
inline constexpr double kEndCodeAt = 5.0;
inline constexpr double kEndAt = 5.5;

}  // namespace quorvel::colour_sequence
