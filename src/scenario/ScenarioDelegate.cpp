#include "scenario/ScenarioDelegate.h"

#include "events/EventCoding.h"

namespace zqlogging {

namespace {

JsonValue boxValue(const CGRect& box) {
  return JsonValue::Array{box.origin.x, box.origin.y, box.size.width, box.size.height};
}

}  // namespace

void ScenarioDelegate::onClick(const std::string& elementName, const std::string& elementPath, const std::string& url,
                               const std::vector<ZQTextDetection>& texts,
                               const std::vector<ZQRectangleDetection>& rectangles, CGPoint point, bool isDown) {
  const auto textValue = [](const ZQTextDetection& text) {
    return JsonValue::Object{
        {"string", text.string}, {"box", boxValue(text.box)}, {"containsClickPoint", text.containsClickPoint}};
  };
  const auto rectangleValue = [](const ZQRectangleDetection& rectangle) {
    return JsonValue::Object{{"box", boxValue(rectangle.box)}, {"containsClickPoint", rectangle.containsClickPoint}};
  };
  output_->line({{"onClick", JsonValue::Object{{"name", elementName},
                                               {"path", elementPath},
                                               {"url", url},
                                               {"texts", JsonValue::array(texts, textValue)},
                                               {"rectangles", JsonValue::array(rectangles, rectangleValue)},
                                               {"point", JsonValue::Array{point.x, point.y}},
                                               {"down", isDown}}}});
}

void ScenarioDelegate::onLogChunkAvailable(const std::vector<EventDictionary>& events, const std::string& text,
                                           bool isLastChunk, std::function<void(bool)> completion) {
  output_->line(
      {{"onLogChunkAvailable",
        JsonValue::Object{{"events", JsonValue::parse(jsonText(events))}, {"text", text}, {"last", isLastChunk}}}});
  const Answer answer = answer_;
  if (answer != Answer::never) {
    completion(answer == Answer::yes);
  }
}

void ScenarioDelegate::onBlackListed(const std::string& elementName, const std::string& elementPath,
                                     const std::string& url, bool flag) {
  output_->line({{"onBlackListed",
                  JsonValue::Object{{"name", elementName}, {"path", elementPath}, {"url", url}, {"flag", flag}}}});
}

}  // namespace zqlogging
