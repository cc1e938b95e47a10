#pragma once

#include <utility>

#include "accessibility/NSExceptionError.h"

namespace zqlogging::ObjC {

/// Runs the work at once, on the calling thread. A platform exception ends it and is thrown on as NSExceptionError;
/// everything else passes through.
template <class Work>
void perform(Work&& workItem) {
  try {
    std::forward<Work>(workItem)();
  } catch (const port::PlatformException& exception) {
    throw NSExceptionError(exception);
  }
}

}  // namespace zqlogging::ObjC
