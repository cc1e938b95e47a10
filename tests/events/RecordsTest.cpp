#include <gmock/gmock.h>

#include <cmath>

#include "events/EventCoding.h"
#include "events/PointText.h"
#include "events/ZQLogEventType.h"
#include "events/ZQSystemLogEvent.h"
#include "events/ZQUILogFocusEvent.h"
#include "events/ZQUILogKeyboardEvent.h"
#include "events/ZQUILogMouseEvent.h"
#include "events/ZQUILogRemoteCommand.h"
#include "text/Text.h"

namespace zqlogging {
namespace {

std::string jsonOf(const ZQLogEventProtocol& record) {
  std::string json;
  record.appendJson(json);
  return json;
}

std::string textOf(const ZQLogEventProtocol& record) {
  const std::vector<EventDictionary> events = {record.toDictionary()};
  return jsonText(events);
}

LogEvent decoded(std::string_view json) { return decodeEntry(JsonObject::parse(json).value()); }

ZQUILogMouseEvent mouseRecord() {
  ZQUILogMouseEvent record;
  record.id = 42;
  record.timestamp = 1700000000123;
  record.mouseEventType = "LeftDown";
  record.button = "Left";
  record.elementXpath = "Application:Mail -> Button:\"Send\"\n";
  record.elementName = "Send";
  record.elementControlType = "Button";
  record.applicationName = "Mäil";
  record.windowRect = "0, 25, 1440, 875";
  record.elementRect = "1200, 60, 64, 28";
  record.eventPoint = "1230, -74";
  record.description = "";
  return record;
}

constexpr const char* kMouseJson =
    R"({"id":42,"timestamp":1700000000123,"eventType":"Mouse","mouseEventType":"LeftDown","button":"Left",)"
    R"("elementXpath":"Application:Mail -> Button:\"Send\"\n","elementName":"Send","elementControlType":"Button",)"
    R"("elementValue":"","applicationName":"Mäil","applicationId":"","windowName":"","windowRect":"0, 25, 1440, 875",)"
    R"("elementRect":"1200, 60, 64, 28","eventPoint":"1230, -74","isRemoteControlEvent":false,"description":""})";

TEST(Records, AMouseRecordIsWrittenInFieldOrderWithoutItsAbsentAddress) {
  EXPECT_EQ(jsonOf(mouseRecord()), kMouseJson);
}

TEST(Records, AMouseDictionaryNestsTheElementAndLeavesEmptyTextsOut) {
  EXPECT_EQ(textOf(mouseRecord()),
            R"([{"eventInfo":{"button":"Left","clicks":1,"elementInfo":{"boundingRect":"1200, 60, 64, 28",)"
            R"("controlType":"Button","name":"Send","path":"Application:Mail -> Button:\"Send\"\n","processId":"",)"
            R"("processName":"Mäil","windowName":""},"eventPoint":"1230, -74","mouseEventType":"LeftDown",)"
            R"("windowRect":"0, 25, 1440, 875","x":1230,"y":-74},"eventType":"Mouse","id":42,"rc":false,)"
            R"("ts":1700000000123}])");
  ZQUILogMouseEvent full = mouseRecord();
  full.url = "https://example.com/";
  full.description = "sends";
  full.elementValue = "v";
  EXPECT_THAT(textOf(full), testing::HasSubstr(R"("url":"https://example.com/","value":"v")"));
  EXPECT_THAT(textOf(full), testing::HasSubstr(R"("description":"sends")"));
}

TEST(Records, EveryKindSurvivesTheFile) {
  const char* entries[] = {
      kMouseJson,
      R"({"id":1,"timestamp":2,"eventType":"Focus","elementXpath":"p","elementName":"n","elementControlType":"c",)"
      R"("elementValue":"v","applicationName":"a","applicationId":"i","windowName":"w","windowRect":"r",)"
      R"("isRemoteControlEvent":true,"url":"u","description":"d"})",
      R"({"id":1,"timestamp":2,"eventType":"KeyPressed","character":"é","elementXpath":"p","elementName":"n",)"
      R"("elementValue":"v","applicationName":"a","applicationId":"i","windowName":"w","windowRect":"r",)"
      R"("isRemoteControlEvent":true})",
      R"({"id":1,"timestamp":2,"eventType":"RemoteCommand","cli":"c","role":"r","command":"k","details":"\u0001",)"
      R"("isRemoteControlEvent":true})",
  };
  for (const char* entry : entries) {
    EXPECT_EQ(jsonOf(*decoded(entry)), entry);
  }
  EXPECT_TRUE(decoded(R"({"more":{"eventType":"Unknown"},"id":1,"timestamp":2,"eventType":"RemoteCommand","cli":"",)"
                      R"("role":"","command":"","details":"","isRemoteControlEvent":true})"))
      << "only the top level counts";
  const LogEvent system = decoded(R"({"eventType":"System","id":1,"timestamp":2,"type":"t","description":"d"})");
  EXPECT_EQ(jsonOf(*system), R"({"id":1,"timestamp":2,"type":"t","description":"d"})");
  EXPECT_EQ(textOf(*system), R"([{"eventInfo":{"name":"System"},"id":1,"ts":2}])");
  EXPECT_FALSE(system->isRemoteControlInititated());
}

TEST(Records, FocusAndKeyDictionariesHaveTheirOwnShapes) {
  EXPECT_EQ(textOf(*decoded(R"({"id":1,"timestamp":2,"eventType":"Focus","elementXpath":"p","elementName":"n",)"
                            R"("elementControlType":"c","elementValue":"","applicationName":"a","applicationId":"i",)"
                            R"("windowName":"w","windowRect":"r","isRemoteControlEvent":true,"url":""})")),
            R"([{"eventInfo":{"elementInfo":{"boundingRect":"r","controlType":"c","name":"n","path":"p",)"
            R"("processId":"i","processName":"a","windowName":"w"},"windowRect":"r"},"eventType":"Focus","id":1,)"
            R"("rc":true,"ts":2}])");
  EXPECT_EQ(textOf(*decoded(R"({"id":1,"timestamp":2,"eventType":"KeyPressed","character":"k","elementXpath":"p",)"
                            R"("elementName":"n","elementValue":"v","applicationName":"a","applicationId":"i",)"
                            R"("windowName":"w","windowRect":"","isRemoteControlEvent":false,"url":"u"})")),
            R"([{"eventInfo":{"character":"k","name":"n","path":"p","processName":"a","value":"v","windowName":"w"},)"
            R"("eventType":"KeyPressed","id":1,"rc":false,"ts":2}])");
}

TEST(Records, EntriesOfNoKnownKindAreSkipped) {
  for (const char* entry : {R"({"id":1})", R"({"eventType":7})", R"({"eventType":"Unknown"})",
                            R"({"eventType":"mouse"})", R"({"eventType":null})", R"({})"}) {
    EXPECT_EQ(decoded(entry), nullptr) << entry;
  }
}

TEST(Records, AMissingKeyOrAWrongTypeIsNamed) {
  struct {
    const char* entry;
    const char* message;
  } cases[] = {
      {R"({"eventType":"Mouse","id":1,"timestamp":2,"mouseEventType":"LeftDown"})", "\"button\" is missing"},
      {R"({"eventType":"Application","id":1,"timestamp":2})", "\"type\" is missing"},
      {R"({"eventType":"RemoteCommand","id":"1"})", "\"id\" is not a 64-bit integer"},
      {R"({"eventType":"RemoteCommand","id":1.5})", "\"id\" is not a 64-bit integer"},
      {R"({"eventType":"RemoteCommand","id":9223372036854775808})", "\"id\" is not a 64-bit integer"},
      {R"({"eventType":"RemoteCommand","id":1.0,"timestamp":[2]})", "\"timestamp\" is not a 64-bit integer"},
      {R"({"eventType":"RemoteCommand","id":1,"timestamp":2,"cli":null})", "\"cli\" is not a string"},
      {R"({"eventType":"RemoteCommand","id":1,"timestamp":2,"cli":"","role":"","command":"","details":"",)"
       R"("isRemoteControlEvent":1})",
       "\"isRemoteControlEvent\" is not a boolean"},
  };
  for (const auto& [entry, message] : cases) {
    try {
      decoded(entry);
      ADD_FAILURE() << entry;
    } catch (const DecodingError& error) {
      EXPECT_THAT(error.what(), testing::HasSubstr(message)) << entry;
    }
  }
}

TEST(Records, NumbersAreExactHoweverTheyAreWritten) {
  struct {
    const char* written;
    std::int64_t value;
  } cases[] = {{"9223372036854775807", INT64_MAX},
               {"-9223372036854775808", INT64_MIN},
               {"9223372036854775807.000", INT64_MAX},
               {"922337203685477580.7e1", INT64_MAX},
               {"9007199254740993.0", 9007199254740993},
               {"-0", 0},
               {"0e300", 0},
               {"1.50E+1", 15}};
  for (const auto& [written, value] : cases) {
    const std::string entry =
        R"({"eventType":"System","id":)" + std::string(written) + R"(,"timestamp":7,"type":"t","description":"d"})";
    std::string again;
    decoded(entry)->appendJson(again);
    EXPECT_THAT(again, testing::StartsWith("{\"id\":" + std::to_string(value) + ",")) << written;
  }
  for (const char* tooBig : {"1e400", "-1e999999999999999999999"}) {
    EXPECT_THROW(JsonObject::parse("{\"a\":" + std::string(tooBig) + "}"), DecodingError);
  }
  for (const char* notWhole : {"9223372036854775808.0", "1e19", "1e-400", "0.5"}) {
    EXPECT_THROW(decoded(R"({"eventType":"System","id":)" + std::string(notWhole) + "}"), DecodingError) << notWhole;
  }
}

TEST(Records, HalfACharacterIsReplaced) {
  const auto object = JsonObject::parse(R"({"a":"x\udc00y","b":"\ud83d\ude00"})");
  EXPECT_EQ(validUtf8(std::string(std::get<std::string_view>(*object->find("a")))),
            std::get<std::string_view>(*object->find("a")));
  EXPECT_EQ(std::get<std::string_view>(*object->find("b")), "\xf0\x9f\x98\x80");
}

TEST(Records, OnlyObjectsAreJsonObjects) {
  EXPECT_FALSE(JsonObject::parse("[1]"));
  const std::string deep = std::string(200000, '[') + std::string(200000, ']');
  EXPECT_FALSE(JsonObject::parse(deep)) << "nesting must not exhaust the stack";
  using std::string_literals::operator""s;
  for (const std::string& text : {""s, "5"s, "{\"a\":1"s, "{\"a\":1}x"s, "{\"a\":1}\0"s, "nul"s}) {
    EXPECT_THROW(JsonObject::parse(text), DecodingError) << text;
  }
}

TEST(Records, PointsAreReadStrictly) {
  struct {
    const char* text;
    std::int64_t x;
    std::int64_t y;
  } cases[] = {{"", 0, 0},        {"12, -7", 12, -7},
               {"12.5, 7", 0, 7}, {"12", 12, 0},
               {" 12, 7", 0, 7},  {"+3, +-4", 3, 0},
               {"1, 2, 3", 1, 2}, {"1,2", 0, 0},
               {"-, 5", 0, 5},    {"9223372036854775807, 9223372036854775808", 9223372036854775807, 0}};
  for (const auto& [text, x, y] : cases) {
    EXPECT_EQ(parsePoint(text).x, x) << text;
    EXPECT_EQ(parsePoint(text).y, y) << text;
  }
  EXPECT_EQ(ZQUILogMouseEvent().location(), CGPoint());
  EXPECT_TRUE(std::isinf(ZQUILogFocusEvent().location().x));
}

TEST(Records, PlatformEventTypesAreTold) {
  struct {
    std::uint64_t type;
    const char* mouseType;
    const char* button;
  } cases[] = {{1, "LeftDown", "Left"}, {2, "LeftUp", "Left"},  {3, "RightDown", "Right"},
               {4, "RightUp", "Right"}, {5, "Unknown", "Left"}, {25, "Unknown", "Left"}};
  for (const auto& [type, mouseType, button] : cases) {
    EXPECT_EQ(rawValue(mouseLogEventTypeOf(type)), mouseType);
    EXPECT_EQ(mouseButton(type), button);
  }
  EXPECT_EQ(logEventTypeFromRawValue("Unknown"), ZQLogEventType::Unknown);
  for (const char* text : {"keypressed", "", "Keyboard", "Mouse "}) {
    EXPECT_FALSE(logEventTypeFromRawValue(text)) << text;
  }
}

}  // namespace
}  // namespace zqlogging
