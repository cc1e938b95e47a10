#pragma once

#include <stdexcept>

namespace zqlogging {

/// Why a text is no JSON, or a JSON object no record. The message is one line.
class DecodingError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace zqlogging
