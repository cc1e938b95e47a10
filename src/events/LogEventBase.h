#pragma once

#include <memory>

#include "events/ZQLogEventProtocol.h"
#include "json/JsonFields.h"

namespace zqlogging {

/// The JSON conversions of a record type, from its one list of fields: `Record::visitFields(record, visitor)` calls
/// the visitor with key and field, in field order.
template <class Record>
class LogEventBase : public ZQLogEventProtocol {
 public:
  void appendJson(std::string& out) const final {
    JsonFieldWriter writer(out);
    Record::visitFields(static_cast<const Record&>(*this), writer);
    writer.finish();
  }

  /// Throws DecodingError when a required key is missing or a value has the wrong type.
  static std::shared_ptr<const Record> fromJson(const JsonObject& object) {
    auto record = std::make_shared<Record>();
    JsonFieldReader reader(object);
    Record::visitFields(*record, reader);
    return record;
  }
};

}  // namespace zqlogging
