#pragma once

#include <functional>
#include <optional>

#include "quorvel/Export.h"
#include "quorvel/Image.h"

namespace quorvel {

// The platform's photo picker. The completion runs on the main queue with the chosen image, or
// with no value when the person cancelled.
class QUORVEL_EXPORT ImagePicker {
 public:
  virtual ~ImagePicker() = default;
  // Whether a picture can be picked here at all; a screen offers the route only when it can.
  virtual bool available() const { return true; }
  virtual void pickImage(bool allowsEditing,
                         std::function<void(std::optional<Image>)> completion) = 0;
};

}  // namespace quorvel
