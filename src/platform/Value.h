#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "platform/ResultCode.h"
#include "zqlogging/Geometry.h"

namespace zqlogging::port {

class Element;
/// A reference to one element of the desktop, shared. Two references may denote the same element: compare them with
/// Element::isEqual, not by pointer.
using ElementRef = std::shared_ptr<const Element>;

class Value;
using Array = std::vector<Value>;
using Dictionary = std::map<std::string, Value, std::less<>>;

struct Null {};

struct Url {
  std::string absoluteString;
};

/// A range of characters or items.
struct CFRange {
  std::int64_t location = 0;
  std::int64_t length = 0;
  friend bool operator==(const CFRange&, const CFRange&) = default;
};

/// A boxed value of a type outside the known ones.
struct UnknownBox {
  int type = 0;
};

/// What an attribute may hold. Plain kinds first, then the boxed ones. Texts are valid UTF-8.
class Value : public std::variant<Null, bool, std::int64_t, double, std::string, Url, Array, Dictionary, ElementRef,
                                  CGPoint, CGSize, CGRect, CFRange, ResultCode, UnknownBox> {
 public:
  using variant::variant;
};

}  // namespace zqlogging::port
