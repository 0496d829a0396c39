#include "qt/QtImagePicker.h"

#include "quorvel/platform/Platform.h"
#include "support/MainQueueCheck.h"

namespace quorvel {

void QtImagePicker::pickImage(bool /*allowsEditing*/,
                              std::function<void(std::optional<Image>)> completion) {
  // A second request while the dialog is open replaces the first, as only one dialog shows.
  pending_ = std::move(completion);
  present_();
}

void QtImagePicker::finish(std::optional<Image> image) {
  auto completion = std::exchange(pending_, nullptr);
  if (!completion) return;
  platform().mainQueue->async([completion = std::move(completion), image = std::move(image)] {
    checkOnMainQueue("the photo picker's answer");
    completion(image);
  });
}

}  // namespace quorvel
