#pragma once

#include "accessibility/AXError.h"

namespace zqlogging::test {

/// The code with which the work fails; success when it does not.
template <class Work>
port::ResultCode thrownBy(Work work) {
  try {
    work();
  } catch (const AXError& error) {
    return error.code();
  }
  return port::ResultCode::success;
}

}  // namespace zqlogging::test
