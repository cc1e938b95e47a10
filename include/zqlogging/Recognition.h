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
  /// Loads nothing yet. Any thread; blocks for nothing, never fails.
  /// \param desktop  must outlive this object
  explicit TextRecognizer(port::Platform& desktop);
  TextRecognizer(const TextRecognizer&) = delete;
  TextRecognizer& operator=(const TextRecognizer&) = delete;
  ~TextRecognizer();

  /// Loads the engine now rather than at the first recognition. Blocks for about 0.1 s. Never fails: what is missing
  /// is told by `recognize`.
  void prepare();

  /// Reads the text in a picture. Blocks until it is read: with a click point no further line is begun after 0.12 s,
  /// without one the whole picture is read, however long that takes. Throws std::runtime_error with one sentence when
  /// there is no engine or no language data.
  /// \param picture     only read, and let go before the return; one without pixels has no text
  /// \param clickPoint  the lines nearest to it are read first; in the picture's pixels, origin top-left
  /// \return            the lines in reading order, with their boxes in the picture's pixels, origin top-left
  [[nodiscard]] std::vector<ZQTextDetection> recognize(const PixelBuffer& picture,
                                                       std::optional<CGPoint> clickPoint = std::nullopt);

 private:
  std::unique_ptr<port::TextRecognition> recognition_;
};

}  // namespace zqlogging
