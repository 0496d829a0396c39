#pragma once

#include <string>

#include "quorvel/Color.h"
#include "quorvel/Dictionary.h"
#include "quorvel/Image.h"
#include "widgets/ScreenContext.h"

namespace quorvel {

// The state of one row of the combined tests.
enum class TestViewState : int { focused = 0, success = 1, failed = 2, unfocused = 3 };

// One row of the combined-tests table as the table draws it: what the row tests, with the host's
// overrides, and how its state shows.
struct MultipleTestsTableViewCell {
  inline static const std::string reuseIdentifier = "MultipleTestsTableViewCell";

  // A row of "charging_v2", "buttons_v2_volume_up" or "buttons_v2_volume_down" (anything else is
  // a programming error), in the run's language and with the host's overrides.
  static MultipleTestsTableViewCell make(const ScreenContext& context, const std::string& rowKey,
                                         TestViewState state);

  std::string key;
  std::string title;
  std::string description;
  Image icon;
  TestViewState state = TestViewState::unfocused;
  // The outcome's words for a finished row, which its mark shows as a picture alone; empty
  // otherwise.
  std::string statusLabel;
  Color titleColor;
  Color descriptionColor;
  Color accentColor;

  Dictionary toJson() const;
};

}  // namespace quorvel
