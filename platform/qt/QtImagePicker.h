#pragma once

#include <functional>

#include "quorvel/platform/ImagePicker.h"

namespace quorvel {

// The photo picker of the Qt front end: a file dialog in the SDK's window. The front end shows it
// when asked and reports the outcome through finish().
class QtImagePicker : public ImagePicker {
 public:
  explicit QtImagePicker(std::function<void()> present) : present_(std::move(present)) {}

  void pickImage(bool allowsEditing, std::function<void(std::optional<Image>)> completion) override;

  // The chosen file, or no value when the person cancelled.
  void finish(std::optional<Image> image);

 private:
  std::function<void()> present_;
  std::function<void(std::optional<Image>)> pending_;
};

}  // namespace quorvel
