#include "accessibility/UnpackedValue.h"

#include <sstream>

#include "accessibility/UIElement.h"

namespace zqlogging {
namespace {

template <class... Cases>
struct Overloaded : Cases... {
  using Cases::operator()...;
};
template <class... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>;

}  // namespace

UnpackedValue unpackAXValue(port::Value value) {
  return std::visit(
      Overloaded{
          [](port::ElementRef& element) -> UnpackedValue { return std::make_shared<UIElement>(std::move(element)); },
          [](port::ResultCode code) -> UnpackedValue { return AXError(code); },
          [](auto& other) -> UnpackedValue { return std::move(other); },
      },
      value);
}

port::Value packAXValue(const UnpackedValue& value) {
  return std::visit(Overloaded{
                        [](const std::shared_ptr<UIElement>& element) -> port::Value {
                          if (!element) {
                            throw AXError(port::ResultCode::illegalArgument);
                          }
                          return element->element();
                        },
                        [](const AXError&) -> port::Value { throw AXError(port::ResultCode::illegalArgument); },
                        [](const auto& other) -> port::Value { return other; },
                    },
                    value);
}

std::string describe(const UnpackedValue& value) {
  std::ostringstream text;
  const auto numbers = [&text](auto first, auto... more) {
    text << '(' << first;
    ((text << ", " << more), ...);
    text << ')';
  };
  std::visit(Overloaded{
                 [&](port::Null) { text << "null"; },
                 [&](bool flag) { text << (flag ? "true" : "false"); },
                 [&](const std::string& string) { text << '"' << string << '"'; },
                 [&](const port::Url& url) { text << url.absoluteString; },
                 [&](const port::Array& array) { text << '[' << array.size() << " values]"; },
                 [&](const port::Dictionary& dictionary) { text << '{' << dictionary.size() << " entries}"; },
                 [&](const std::shared_ptr<UIElement>& element) {
                   text << (element ? element->element()->textForm() : "none");
                 },
                 [&](CGPoint p) { numbers(p.x, p.y); },
                 [&](CGSize s) { numbers(s.width, s.height); },
                 [&](const CGRect& r) { numbers(r.origin.x, r.origin.y, r.size.width, r.size.height); },
                 [&](port::CFRange range) { numbers(range.location, range.length); },
                 [&](const AXError& error) { text << error.what(); },
                 [&](port::UnknownBox box) { text << "value of type " << box.type; },
                 [&](auto number) { text << number; },
             },
             value);
  return text.str();
}

}  // namespace zqlogging
