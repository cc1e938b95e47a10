#pragma once

#include <functional>
#include <string>
#include <vector>

#include "zqlogging/Detections.h"
#include "zqlogging/EventDictionary.h"

namespace zqlogging {

/// What the service tells its host. The service shares ownership of the delegate. Every call is synchronous: the
/// thread named below waits for it, so a slow delegate delays the recording of later events, and nothing else.
/// All texts are valid UTF-8; they and the lists belong to the service and are gone after the return. An exception that
/// leaves a callback is logged and goes no further. The service may be called from inside a callback.
class ZQLoggerDelegate {
 public:
  virtual ~ZQLoggerDelegate() = default;

  /// A mouse button went down or up over an element; called just before the record is made.
  /// Thread: the service's worker.
  /// \param elementName  what the application calls the element; may be empty
  /// \param elementPath  from the application down to the element
  /// \param url          address of the page that holds the element, or empty
  /// \param texts        what was recognized around the click; empty without recognition
  /// \param rectangles   the whole recognition rectangle first; empty without recognition
  /// \param point        the click inside that rectangle, in pixels; (0, 0) without recognition
  /// \param isDown       true for a press, false for a release
  virtual void onClick(const std::string& elementName, const std::string& elementPath, const std::string& url,
                       const std::vector<ZQTextDetection>& texts, const std::vector<ZQRectangleDetection>& rectangles,
                       CGPoint point, bool isDown) = 0;

  /// Recorded events are ready. Thread: main, or the thread that called `stop`.
  /// \param events       oldest first
  /// \param text         the same list as one JSON array with sorted keys; empty for an empty last chunk
  /// \param isLastChunk  whether this is the chunk of `stop`
  /// \param completion   the host's to keep; to be called once, on any thread, now or later. True deletes the delivered
  ///                     events, false keeps them, and they come again with the next chunk. A second answer to one
  ///                     chunk, or one after the end of the service, does nothing
  virtual void onLogChunkAvailable(const std::vector<EventDictionary>& events, const std::string& text,
                                   bool isLastChunk, std::function<void(bool delivered)> completion) = 0;

  /// An event was suppressed because of the blacklists. Thread: the service's worker for pointer events, main for
  /// others.
  /// \param elementName  what the application calls the element; may be empty
  /// \param elementPath  from the application down to the element
  /// \param url          address of the page that holds the element, or empty
  /// \param flag         false for the release of a pointer button, true for everything else
  virtual void onBlackListed(const std::string& elementName, const std::string& elementPath, const std::string& url,
                             bool flag) = 0;
};

}  // namespace zqlogging
