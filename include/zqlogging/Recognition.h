#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "zqlogging/Detections.h"
#include "zqlogging/Export.h"
#include "zqlogging/Geometry.h"
#include "zqlogging/Pixels.h"

namespace zqlogging {

namespace port {
class Platform;
class TextRecognition;
}  // namespace port

/// Reads the text in pictures, with the engine that the service uses around a click. The engine is loaded by `prepare`
/// or by the first `recognize` (about 0.1 s), and freed with this object. One thread at a time.
class ZQ_EXPORT TextRecognizer {
 public:
  /// `desktop` must outlive this object. Loads nothing yet.
  explicit TextRecognizer(port::Platform& desktop);
  TextRecognizer(const TextRecognizer&) = delete;
  TextRecognizer& operator=(const TextRecognizer&) = delete;
  ~TextRecognizer();

  /// Loads the engine now rather than at the first recognition. Never fails.
  void prepare();

  /// The lines of text in `picture`, in reading order, with their boxes in its pixels (origin top-left).
  /// With a click point (the same pixels) the lines nearest to it are read first, and after 0.12 s no further one is
  /// begun; without one the whole picture is read, however long that takes. A picture without pixels has no text.
  /// Throws std::runtime_error with one sentence when there is no engine or no language data.
  [[nodiscard]] std::vector<ZQTextDetection> recognize(const PixelBuffer& picture,
                                                       std::optional<CGPoint> clickPoint = std::nullopt);

 private:
  std::unique_ptr<port::TextRecognition> recognition_;
};

}  // namespace zqlogging
