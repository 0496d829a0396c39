#pragma once

// The interface elements that a screen's outlets hold. Each holds only what a renderer needs; a
// front end draws them and reports input back through the screen's actions.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quorvel/Customization.h"
#include "quorvel/Dictionary.h"
#include "quorvel/Export.h"
#include "quorvel/ui/Geometry.h"

namespace quorvel {

enum class KeyboardType : int { standard = 0, numberPad = 4 };

class GestureRecognizer;

struct QUORVEL_EXPORT Element {
  virtual ~Element() = default;
  virtual const char* kind() const = 0;
  virtual Dictionary toJson() const;

  bool hidden = false;
  double alpha = 1.0;
  std::optional<Color> backgroundColor;
  std::optional<Color> tintColor;
  double cornerRadius = 0;
  bool userInteractionEnabled = true;
  // What assistive technology reads for an element whose own text does not say what it is (a
  // button drawn as a picture alone), in the screen's language; empty: its own text.
  std::string accessibilityLabel;
  // The size the front end laid the element out at.
  Size bounds;
  // Attached by the screen (ViewController::addGestureRecognizer), fed by the front end.
  std::vector<std::shared_ptr<GestureRecognizer>> gestureRecognizers;
};

struct QUORVEL_EXPORT View : Element {
  const char* kind() const override { return "View"; }
};

struct QUORVEL_EXPORT Label : Element {
  const char* kind() const override { return "Label"; }
  Dictionary toJson() const override;

  std::string text;
  std::optional<Color> textColor;
  // A part of text shown as a link; tapping it sends linkAction.
  std::string link;
  std::string linkAction;
  // Drawn flipped left to right, to read correctly in a mirror.
  bool mirrored = false;
};

struct QUORVEL_EXPORT Button : Element {
  const char* kind() const override { return "Button"; }
  Dictionary toJson() const override;

  std::string title;
  std::optional<Color> titleColor;
  std::optional<Image> image;
  bool enabled = true;
  // Main buttons take their corners from the host's border type; the front end knows the height.
  std::optional<BorderType> borderType;
};

struct QUORVEL_EXPORT ImageView : Element {
  const char* kind() const override { return "ImageView"; }
  Dictionary toJson() const override;

  std::optional<Image> image;
};

struct QUORVEL_EXPORT TextField : Element {
  const char* kind() const override { return "TextField"; }
  Dictionary toJson() const override;

  std::string text;
  std::string placeholder;
  KeyboardType keyboardType = KeyboardType::standard;
  std::optional<Color> textColor;
  bool enabled = true;
  bool isFirstResponder = false;
};

struct QUORVEL_EXPORT RadioButton : Element {
  const char* kind() const override { return "RadioButton"; }
  Dictionary toJson() const override;

  std::string title;
  std::optional<Color> textColor;
  bool isChecked = false;
};

struct QUORVEL_EXPORT CheckBox : Element {
  const char* kind() const override { return "CheckBox"; }
  Dictionary toJson() const override;

  std::string title;
  std::optional<Color> textColor;
  bool isChecked = false;
};

// A segmented bar: one segment per entry, filled with its colour or clear (no value), so that the
// bar's background colour shows through.
struct QUORVEL_EXPORT ProgressBar : Element {
  const char* kind() const override { return "ProgressBar"; }
  Dictionary toJson() const override;

  std::vector<std::optional<Color>> segments;
  double segmentHeight = 3;
};

// A list of rows, each drawn by the cell the table registered under the row's "cell" name.
struct QUORVEL_EXPORT Table : Element {
  const char* kind() const override { return "Table"; }
  Dictionary toJson() const override;

  std::vector<std::string> registeredCells;
  std::vector<Dictionary> rows;
  // Grows with every reload, so that the front end redraws the rows.
  int reloadCount = 0;
};

struct QUORVEL_EXPORT ActivityIndicator : Element {
  const char* kind() const override { return "ActivityIndicator"; }
  Dictionary toJson() const override;

  bool animating = false;
};

// Shows the picture of the camera session that is running (Camera::startCapture), scaled to fill
// the element and cropped; nothing while no session runs.
struct QUORVEL_EXPORT VideoPreview : Element {
  const char* kind() const override { return "VideoPreview"; }
};

QUORVEL_EXPORT Dictionary toJson(const Image& image);

}  // namespace quorvel
