#include "OutputLines.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <system_error>

namespace {

using namespace zqlogging;

/// Writes nested objects key by key; keys are given in their sorted order.
class Line {
 public:
  Line() : writer_(buffer_) { writer_.StartObject(); }

  template <class Value>
  Line& add(const char* name, const Value& content) {
    writer_.Key(name);
    value(content);
    return *this;
  }
  Line& open(const char* name) {
    writer_.Key(name);
    writer_.StartObject();
    return *this;
  }
  Line& close() {
    writer_.EndObject();
    return *this;
  }
  /// JSON text as it is.
  Line& addJson(const char* name, const std::string& json) {
    writer_.Key(name);
    writer_.RawValue(json.data(), json.size(), rapidjson::kObjectType);
    return *this;
  }
  std::string text() {
    writer_.EndObject();
    return {buffer_.GetString(), buffer_.GetSize()};
  }

 private:
  void value(bool flag) { writer_.Bool(flag); }
  void value(std::int64_t number) { writer_.Int64(number); }
  void value(double number) {
    constexpr double kExact = 9007199254740992.0;
    if (std::trunc(number) == number && std::abs(number) < kExact) {
      writer_.Int64(static_cast<std::int64_t>(number));
    } else if (std::isfinite(number)) {
      writer_.Double(number);
    } else {
      writer_.Null();
    }
  }
  void value(const std::string& text) { writer_.String(text); }
  void value(CGPoint point) { numbers({point.x, point.y}); }
  void value(CGRect rect) { numbers({rect.origin.x, rect.origin.y, rect.size.width, rect.size.height}); }
  void value(const std::optional<CGRect>& rect) { rect ? value(*rect) : static_cast<void>(writer_.Null()); }
  void value(ZQLogEventType type) { writer_.String(nameOf(type)); }
  void value(const ZQTextDetection& detection) {
    writer_.StartObject();
    add("box", detection.box).add("containsClickPoint", detection.containsClickPoint).add("string", detection.string);
    writer_.EndObject();
  }
  void value(const ZQRectangleDetection& detection) {
    writer_.StartObject();
    add("box", detection.box).add("containsClickPoint", detection.containsClickPoint);
    writer_.EndObject();
  }
  template <class Item>
  void value(const std::vector<Item>& items) {
    writer_.StartArray();
    for (const Item& item : items) {
      value(item);
    }
    writer_.EndArray();
  }
  template <class Item>
  void value(const std::map<std::string, Item, std::less<>>& dictionary) {
    writer_.StartObject();
    for (const auto& [key, content] : dictionary) {
      add(key.c_str(), content);
    }
    writer_.EndObject();
  }
  void value(const EventValue& content) {
    std::visit([this](const auto& held) { value(held); }, static_cast<const EventValue::variant&>(content));
  }

  void numbers(std::initializer_list<double> items) {
    writer_.StartArray();
    for (const double item : items) {
      value(item);
    }
    writer_.EndArray();
  }
  static const char* nameOf(ZQLogEventType type) {
    switch (type) {
      case ZQLogEventType::Focus:
        return "Focus";
      case ZQLogEventType::Mouse:
        return "Mouse";
      case ZQLogEventType::KeyPressed:
        return "KeyPressed";
      case ZQLogEventType::RemoteCommand:
        return "RemoteCommand";
      case ZQLogEventType::System:
        return "System";
      case ZQLogEventType::Application:
        return "Application";
      case ZQLogEventType::Unknown:
        break;
    }
    return "Unknown";
  }

  rapidjson::StringBuffer buffer_;
  rapidjson::Writer<rapidjson::StringBuffer> writer_;
};

}  // namespace

std::string startLine(bool started) { return Line().add("start", started).text(); }

std::string stoppedLine(bool delivered) { return Line().add("stopped", delivered).text(); }

std::string clickLine(const std::string& name, const std::string& path, const std::string& url,
                      const std::vector<ZQTextDetection>& texts, const std::vector<ZQRectangleDetection>& rectangles,
                      CGPoint point, bool isDown) {
  return Line()
      .open("onClick")
      .add("down", isDown)
      .add("name", name)
      .add("path", path)
      .add("point", point)
      .add("rectangles", rectangles)
      .add("texts", texts)
      .add("url", url)
      .close()
      .text();
}

std::string blackListedLine(const std::string& name, const std::string& path, const std::string& url, bool flag) {
  return Line()
      .open("onBlackListed")
      .add("flag", flag)
      .add("name", name)
      .add("path", path)
      .add("url", url)
      .close()
      .text();
}

std::string chunkLine(const std::vector<EventDictionary>& events, const std::string& text, bool isLast) {
  return Line().open("onLogChunkAvailable").add("events", events).add("last", isLast).add("text", text).close().text();
}

std::string describeLine(const ElementDescription& description) {
  return Line().addJson("describe", description.json).add("frame", description.frame).text();
}

const char* nameOf(Finding::Gravity gravity) {
  switch (gravity) {
    case Finding::Gravity::fine:
      return "fine";
    case Finding::Gravity::note:
      return "note";
    case Finding::Gravity::poor:
      return "poor";
    case Finding::Gravity::fatal:
      break;
  }
  return "fatal";
}

std::string findingLine(const Finding& finding) {
  return Line()
      .add("code", finding.code)
      .add("gravity", std::string(nameOf(finding.gravity)))
      .add("meaning", finding.meaning)
      .add("remedy", finding.remedy)
      .add("repairable", finding.repairable)
      .add("subject", finding.subject)
      .text();
}

std::string repairedLine(const Finding& finding, bool repaired) {
  return Line().add("code", finding.code).add("repaired", repaired).text();
}

std::string recognizedLine(const std::string& file, const std::vector<ZQTextDetection>& texts, double milliseconds) {
  return Line().add("file", file).add("milliseconds", std::round(milliseconds * 100) / 100).add("texts", texts).text();
}

void printLine(const std::string& line) {
  static std::mutex mutex;
  const std::lock_guard lock(mutex);
  std::fwrite(line.data(), 1, line.size(), stdout);
  std::fputc('\n', stdout);
  if (std::fflush(stdout) != 0) {
    throw std::system_error(errno, std::generic_category(), "standard output");
  }
}
