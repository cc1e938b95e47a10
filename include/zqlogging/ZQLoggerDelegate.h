#pragma once

#include <functional>
#include <string>
#include <vector>

#include "zqlogging/Detections.h"
#include "zqlogging/EventDictionary.h"

namespace zqlogging {

/// What the service tells its host. The service shares ownership of the delegate. Every call is synchronous: the
/// thread named below waits for it, so a slow delegate delays the recording of later events, and nothing else.
/// All texts are valid UTF-8. An exception that leaves a callback is logged and goes no further.
class ZQLoggerDelegate {
 public:
  virtual ~ZQLoggerDelegate() = default;

  /// A mouse button went down (`isDown`) or up over an element; called just before the record is made.
  /// Without recognition both lists are empty and the point is (0, 0). With it, `rectangles` starts with the whole
  /// recognition rectangle and `point` is the click inside that rectangle, in pixels. Thread: the service's worker.
  virtual void onClick(const std::string& elementName, const std::string& elementPath, const std::string& url,
                       const std::vector<ZQTextDetection>& texts, const std::vector<ZQRectangleDetection>& rectangles,
                       CGPoint point, bool isDown) = 0;

  /// Recorded events are ready. `text` is the same list as one JSON array with sorted keys; it is empty for an empty
  /// last chunk. Answer by calling `completion` once, from any thread, now or later: true deletes the delivered
  /// events, false keeps them, and they come again with the next chunk. Later answers to the same chunk do nothing,
  /// an answer after the end of the service does nothing. Thread: main, or the thread that called stop.
  virtual void onLogChunkAvailable(const std::vector<EventDictionary>& events, const std::string& text,
                                   bool isLastChunk, std::function<void(bool delivered)> completion) = 0;

  /// An event was suppressed because of the blacklists. For pointer events the flag is true for a press and false
  /// for a release, for others always true. Thread: worker for pointer events, main for others.
  virtual void onBlackListed(const std::string& elementName, const std::string& elementPath, const std::string& url,
                             bool flag) = 0;
};

}  // namespace zqlogging
