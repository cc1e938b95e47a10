#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/Image.h"

namespace zqlogging::port {

struct TextRequest {
  std::vector<std::string> languages = {"en"};
  bool accurate = true;  ///< rather than fast
  bool languageCorrection = true;
  /// Where the click is, in pixels from the top-left corner of the picture: lines near it matter most.
  std::optional<CGPoint> focus;
};

/// One recognized line of text.
struct TextObservation {
  std::vector<std::string> candidates;  ///< best first; may be empty
  CGRect boundingBox;                   ///< normalized to 0…1 of the picture, origin lower-left
};

struct TextRequestFailed {
  std::string description;
};
/// The request finished, but its results cannot be read as text.
struct TextResultsUnreadable {};

using TextAnswer = std::variant<std::vector<TextObservation>, TextRequestFailed, TextResultsUnreadable>;

/// A text recognizer. One thread at a time.
class TextRecognition {
 public:
  virtual ~TextRecognition() = default;
  /// Loads what the first recognition would otherwise wait for. Never fails; a missing engine shows in `recognize`.
  virtual void prepare() {}
  virtual TextAnswer recognize(const Image& image, const TextRequest& request) = 0;
};

}  // namespace zqlogging::port
