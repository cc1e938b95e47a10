#include "linux/atspi/AtspiRequest.h"

#include <array>
#include <cstring>

namespace zqlogging {

using port::ResultCode;

namespace {

constexpr const char* kPropertiesInterface = "org.freedesktop.DBus.Properties";
constexpr const char* kAccessible = "org.a11y.atspi.Accessible";
constexpr const char* kComponent = "org.a11y.atspi.Component";
constexpr const char* kText = "org.a11y.atspi.Text";
constexpr const char* kValue = "org.a11y.atspi.Value";
constexpr const char* kDocument = "org.a11y.atspi.Document";
constexpr const char* kHyperlink = "org.a11y.atspi.Hyperlink";
constexpr const char* kSelection = "org.a11y.atspi.Selection";
constexpr const char* kTable = "org.a11y.atspi.Table";
constexpr const char* kAction = "org.a11y.atspi.Action";
constexpr const char* kDaemon = "org.freedesktop.DBus";

constexpr std::uint32_t kScreenCoordinates = 0;

enum class Access { property, method };

struct RequestCall {
  AtspiRequest request;
  const char* interface;
  Access access;
  const char* member;
  const char* signature;  // of the value
};

constexpr std::array<RequestCall, kRequestCount> kCalls = {{
    {AtspiRequest::role, kAccessible, Access::method, "GetRole", "u"},
    {AtspiRequest::name, kAccessible, Access::property, "Name", "s"},
    {AtspiRequest::description, kAccessible, Access::property, "Description", "s"},
    {AtspiRequest::helpText, kAccessible, Access::property, "HelpText", "s"},
    {AtspiRequest::accessibleId, kAccessible, Access::property, "AccessibleId", "s"},
    {AtspiRequest::roleName, kAccessible, Access::method, "GetLocalizedRoleName", "s"},
    {AtspiRequest::parent, kAccessible, Access::property, "Parent", "(so)"},
    {AtspiRequest::childCount, kAccessible, Access::property, "ChildCount", "i"},
    {AtspiRequest::children, kAccessible, Access::method, "GetChildren", "a(so)"},
    {AtspiRequest::childAt, kAccessible, Access::method, "GetChildAtIndex", "(so)"},
    {AtspiRequest::states, kAccessible, Access::method, "GetState", "au"},
    {AtspiRequest::interfaces, kAccessible, Access::method, "GetInterfaces", "as"},
    {AtspiRequest::objectAttributes, kAccessible, Access::method, "GetAttributes", "a{ss}"},
    {AtspiRequest::relations, kAccessible, Access::method, "GetRelationSet", "a(ua(so))"},
    {AtspiRequest::extents, kComponent, Access::method, "GetExtents", "(iiii)"},
    {AtspiRequest::atPoint, kComponent, Access::method, "GetAccessibleAtPoint", "(so)"},
    {AtspiRequest::text, kText, Access::method, "GetText", "s"},
    {AtspiRequest::characterCount, kText, Access::property, "CharacterCount", "i"},
    {AtspiRequest::currentValue, kValue, Access::property, "CurrentValue", "d"},
    {AtspiRequest::minimumValue, kValue, Access::property, "MinimumValue", "d"},
    {AtspiRequest::maximumValue, kValue, Access::property, "MaximumValue", "d"},
    {AtspiRequest::documentAttributes, kDocument, Access::method, "GetAttributes", "a{ss}"},
    {AtspiRequest::linkAddress, kHyperlink, Access::method, "GetURI", "s"},
    {AtspiRequest::selectedChild, kSelection, Access::method, "GetSelectedChild", "(so)"},
    {AtspiRequest::rowCount, kTable, Access::property, "NRows", "i"},
    {AtspiRequest::columnCount, kTable, Access::property, "NColumns", "i"},
    {AtspiRequest::actions, kAction, Access::method, "GetActions", "a(sss)"},
    {AtspiRequest::indexInParent, kAccessible, Access::method, "GetIndexInParent", "i"},
    {AtspiRequest::processId, kDaemon, Access::method, "GetConnectionUnixProcessID", "u"},
}};

constexpr bool inOrder() {
  for (std::size_t i = 0; i < kCalls.size(); ++i) {
    if (static_cast<std::size_t>(kCalls[i].request) != i) {
      return false;
    }
  }
  return true;
}
static_assert(inOrder());

const RequestCall& callOf(AtspiRequest request) { return kCalls[static_cast<std::size_t>(request)]; }

int appendArguments(sd_bus_message* message, AtspiRequest request, const AtspiObject& object,
                    const AtspiArguments& arguments) {
  switch (request) {
    case AtspiRequest::childAt:
      return sd_bus_message_append(message, "i", arguments.x);
    case AtspiRequest::extents:
      return sd_bus_message_append(message, "u", kScreenCoordinates);
    case AtspiRequest::atPoint:
      return sd_bus_message_append(message, "iiu", arguments.x, arguments.y, kScreenCoordinates);
    case AtspiRequest::text:
      return sd_bus_message_append(message, "ii", 0, arguments.x);
    case AtspiRequest::linkAddress:
    case AtspiRequest::selectedChild:
      return sd_bus_message_append(message, "i", 0);
    case AtspiRequest::processId:
      return sd_bus_message_append(message, "s", object.application.c_str());
    default:
      return 0;
  }
}

ResultCode codeOf(const sd_bus_error& error) {
  static constexpr std::pair<const char*, ResultCode> kCodes[] = {
      {SD_BUS_ERROR_SERVICE_UNKNOWN, ResultCode::invalidUIElement},
      {SD_BUS_ERROR_NAME_HAS_NO_OWNER, ResultCode::invalidUIElement},
      {SD_BUS_ERROR_NO_REPLY, ResultCode::invalidUIElement},
      {SD_BUS_ERROR_DISCONNECTED, ResultCode::invalidUIElement},
      {SD_BUS_ERROR_UNKNOWN_OBJECT, ResultCode::invalidUIElement},
      {SD_BUS_ERROR_UNKNOWN_METHOD, ResultCode::attributeUnsupported},
      {SD_BUS_ERROR_UNKNOWN_INTERFACE, ResultCode::attributeUnsupported},
      {SD_BUS_ERROR_UNKNOWN_PROPERTY, ResultCode::attributeUnsupported},
      {SD_BUS_ERROR_INVALID_ARGS, ResultCode::attributeUnsupported},
      {SD_BUS_ERROR_NOT_SUPPORTED, ResultCode::attributeUnsupported},
      {SD_BUS_ERROR_ACCESS_DENIED, ResultCode::apiDisabled},
      {SD_BUS_ERROR_TIMEOUT, ResultCode::cannotComplete},
  };
  for (const auto& [name, code] : kCodes) {
    if (error.name && !std::strcmp(error.name, name)) {
      return code;
    }
  }
  return ResultCode::failure;
}

bool readObject(sd_bus_message* message, std::uint32_t bus, AtspiObject& object) {
  const char *name = nullptr, *path = nullptr;
  if (sd_bus_message_read(message, "(so)", &name, &path) <= 0) {
    return false;
  }
  object = {name, path, bus};
  return true;
}

/// Reads the members of an array with `readOne`, which answers whether there was one.
template <class T, class ReadOne>
bool readArray(sd_bus_message* message, const char* contents, std::vector<T>& list, ReadOne readOne) {
  if (sd_bus_message_enter_container(message, 'a', contents) <= 0) {
    return false;
  }
  for (T item; readOne(item); item = T()) {
    list.push_back(std::move(item));
  }
  return sd_bus_message_exit_container(message) >= 0;
}

bool readObjects(sd_bus_message* message, std::uint32_t bus, std::vector<AtspiObject>& list) {
  return readArray(message, "(so)", list, [&](AtspiObject& object) { return readObject(message, bus, object); });
}

bool readRelation(sd_bus_message* message, std::uint32_t bus, AtspiRelation& relation) {
  return sd_bus_message_enter_container(message, 'r', "ua(so)") > 0 &&
         sd_bus_message_read(message, "u", &relation.type) > 0 && readObjects(message, bus, relation.targets) &&
         sd_bus_message_exit_container(message) >= 0;
}

/// Of a text of any length, no more than a record can use.
std::string cutText(std::string_view text) {
  constexpr std::size_t kMaxBytes = 16'384;
  if (text.size() <= kMaxBytes) {
    return std::string(text);
  }
  std::size_t end = kMaxBytes;
  constexpr unsigned char kContinuationMask = 0xC0;
  constexpr unsigned char kContinuation = 0x80;
  while ((static_cast<unsigned char>(text[end]) & kContinuationMask) == kContinuation) {
    --end;
  }
  return std::string(text.substr(0, end));
}

bool readDictionary(sd_bus_message* message, std::map<std::string, std::string>& dictionary) {
  if (sd_bus_message_enter_container(message, 'a', "{ss}") <= 0) {
    return false;
  }
  const char *key = nullptr, *entry = nullptr;
  while (sd_bus_message_read(message, "{ss}", &key, &entry) > 0) {
    dictionary[key] = cutText(entry);
  }
  return sd_bus_message_exit_container(message) >= 0;
}

/// Reads one basic value and stores it as T.
template <class T>
bool readBasic(sd_bus_message* message, char type, AtspiAnswer::Value& into) {
  T value{};
  if (sd_bus_message_read_basic(message, type, &value) <= 0) {
    return false;
  }
  into = value;
  return true;
}

bool readValue(sd_bus_message* message, std::string_view signature, std::uint32_t bus, AtspiAnswer::Value& into) {
  if (signature == "u") {
    return readBasic<std::uint32_t>(message, 'u', into);
  }
  if (signature == "i") {
    return readBasic<std::int32_t>(message, 'i', into);
  }
  if (signature == "d") {
    return readBasic<double>(message, 'd', into);
  }
  if (signature == "s") {
    const char* text = nullptr;
    if (sd_bus_message_read_basic(message, 's', &text) <= 0) {
      return false;
    }
    into = cutText(text);
    return true;
  }
  if (signature == "(so)") {
    return readObject(message, bus, into.emplace<AtspiObject>());
  }
  if (signature == "a(so)") {
    return readObjects(message, bus, into.emplace<std::vector<AtspiObject>>());
  }
  if (signature == "a{ss}") {
    return readDictionary(message, into.emplace<std::map<std::string, std::string>>());
  }
  if (signature == "(iiii)") {
    std::int32_t x = 0, y = 0, width = 0, height = 0;
    if (sd_bus_message_read(message, "(iiii)", &x, &y, &width, &height) <= 0) {
      return false;
    }
    into = CGRect{{double(x), double(y)}, {double(width), double(height)}};
    return true;
  }
  if (signature == "au") {
    std::vector<std::uint32_t> words;
    if (!readArray(message, "u", words,
                   [&](std::uint32_t& word) { return sd_bus_message_read(message, "u", &word) > 0; })) {
      return false;
    }
    AtspiStates states = 0;
    for (std::size_t i = 0; i < words.size() && i < 2; ++i) {
      states |= AtspiStates(words[i]) << (32 * i);
    }
    into = states;
    return true;
  }
  if (signature == "as") {
    return readArray(message, "s", into.emplace<std::vector<std::string>>(), [&](std::string& item) {
      const char* wire = nullptr;
      if (sd_bus_message_read(message, "s", &wire) <= 0) {
        return false;
      }
      item = wire;
      return true;
    });
  }
  if (signature == "a(ua(so))") {
    return readArray(message, "(ua(so))", into.emplace<std::vector<AtspiRelation>>(),
                     [&](AtspiRelation& relation) { return readRelation(message, bus, relation); });
  }
  if (signature == "a(sss)") {
    return readArray(message, "(sss)", into.emplace<std::vector<AtspiAction>>(), [&](AtspiAction& item) {
      const char *name = nullptr, *description = nullptr, *keys = nullptr;
      if (sd_bus_message_read(message, "(sss)", &name, &description, &keys) <= 0) {
        return false;
      }
      item = {name, description};
      return true;
    });
  }
  return false;
}

/// Makes a number the kind of number that was asked for; false when the value is of another kind altogether.
bool convert(AtspiAnswer::Value& from, std::string_view signature) {
  if (signature == "d") {
    if (const auto* number = std::get_if<std::int32_t>(&from)) {
      from = double(*number);
    }
    if (const auto* number = std::get_if<std::uint32_t>(&from)) {
      from = double(*number);
    }
    return std::holds_alternative<double>(from);
  }
  if (signature == "i") {
    return std::holds_alternative<std::int32_t>(from);
  }
  if (signature == "s") {
    return std::holds_alternative<std::string>(from);
  }
  return true;
}

}  // namespace

std::string_view requiredInterface(AtspiRequest request) {
  const std::string_view interface = callOf(request).interface;
  const bool always = interface == kAccessible || interface == kDaemon;
  return always ? std::string_view() : interface;
}

sd_bus_message* newCall(sd_bus* bus, AtspiRequest request, const AtspiObject& object, const AtspiArguments& arguments) {
  const RequestCall& call = callOf(request);
  const bool toDaemon = request == AtspiRequest::processId;
  const bool property = call.access == Access::property;
  sd_bus_message* message = nullptr;
  if (sd_bus_message_new_method_call(bus, &message, toDaemon ? kDaemon : object.application.c_str(),
                                     toDaemon ? "/org/freedesktop/DBus" : object.path.c_str(),
                                     property ? kPropertiesInterface : call.interface,
                                     property ? "Get" : call.member) < 0) {
    return nullptr;
  }
  sd_bus_message_set_auto_start(message, 0);
  const int appended = property ? sd_bus_message_append(message, "ss", call.interface, call.member)
                                : appendArguments(message, request, object, arguments);
  return appended < 0 ? sd_bus_message_unref(message) : message;
}

AtspiAnswer readAnswer(sd_bus_message* reply, AtspiRequest request, std::uint32_t bus) {
  AtspiAnswer answer;
  if (sd_bus_message_is_method_error(reply, nullptr)) {
    answer.code = codeOf(*sd_bus_message_get_error(reply));
    return answer;
  }
  const RequestCall& call = callOf(request);
  std::string_view signature = call.signature;
  if (call.access == Access::property) {
    // Toolkits disagree on the types of numbers.
    const char* contents = nullptr;
    if (sd_bus_message_peek_type(reply, nullptr, &contents) <= 0 || !contents ||
        sd_bus_message_enter_container(reply, 'v', contents) <= 0) {
      return {ResultCode::failure, {}};
    }
    signature = contents;
  }
  if (!readValue(reply, signature, bus, answer.value) || !convert(answer.value, call.signature)) {
    return {ResultCode::failure, {}};
  }
  return answer;
}

}  // namespace zqlogging
