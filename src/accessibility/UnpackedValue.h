#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

#include "accessibility/AXError.h"
#include "platform/Value.h"

namespace zqlogging {

class UIElement;

/// The value of an attribute as the wrapper gives and takes it. Arrays and dictionaries stay as the platform has them.
class UnpackedValue : public std::variant<port::Null, bool, std::int64_t, double, std::string, port::Url, port::Array,
                                          port::Dictionary, std::shared_ptr<UIElement>, CGPoint, CGSize, CGRect,
                                          port::CFRange, AXError, port::UnknownBox> {
 public:
  using variant::variant;

  /// The value as exactly this kind, or as it stands for UnpackedValue itself. Throws illegalArgument when it is of
  /// another kind.
  template <class T>
  [[nodiscard]] T as() && {
    if constexpr (std::is_same_v<T, UnpackedValue>) {
      return std::move(*this);
    } else {
      T* const held = std::get_if<T>(this);
      if (held == nullptr) {
        throw AXError(port::ResultCode::illegalArgument);
      }
      return std::move(*held);
    }
  }
};

/// Wraps an element in a new UIElement and an error code in an AXError; passes every other kind through.
UnpackedValue unpackAXValue(port::Value value);

/// The reverse. Throws illegalArgument for an AXError or a missing element, which cannot be written.
port::Value packAXValue(const UnpackedValue& value);

/// The value as text, for diagnostics.
std::string describe(const UnpackedValue& value);

}  // namespace zqlogging
