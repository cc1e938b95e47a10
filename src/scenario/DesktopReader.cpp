#include "scenario/DesktopReader.h"

#include <rapidjson/document.h>

#include <cmath>
#include <functional>
#include <string>
#include <utility>

namespace zqlogging {

using port::NodeId;
using port::ResultCode;
using port::ScriptedDesktop;
using port::Value;

namespace {

/// The deepest tree that is read. No desktop is this deep, and each level costs stack.
constexpr int kDeepest = 500;

/// An element of the file with its node: its attributes are read once every element has one.
using DeclaredElement = std::pair<JsonFields, NodeId>;

ResultCode readFailureCode(const JsonCursor& code) {
  const auto number = code.int32();
  if (number == 0) {
    code.fail("0 is success, not the code of a failure");
  }
  return ResultCode{number};
}

CGPoint readPoint(const JsonCursor& point) {
  const auto numbers = point.numbers(2);
  return {numbers[0], numbers[1]};
}

Value readValue(const JsonCursor& value, const ScriptedDesktop& desktop, int depth);

Value readMarkedValue(const JsonCursor& object, const ScriptedDesktop& desktop, int depth) {
  const auto members = object.members();
  if (members.size() != 1) {
    object.fail("expected an object with one key that names the kind of value");
  }
  const auto& [kind, content] = members.front();
  if (kind == "point") {
    return readPoint(content);
  }
  if (kind == "size") {
    const auto numbers = content.numbers(2);
    return CGSize{numbers[0], numbers[1]};
  }
  if (kind == "rect") {
    return readBox(content);
  }
  if (kind == "range") {
    const auto items = content.items();
    if (items.size() != 2) {
      content.fail("expected a location and a length");
    }
    return port::CFRange{items[0].integer(), items[1].integer()};
  }
  if (kind == "axError") {
    return ResultCode{content.int32()};
  }
  if (kind == "axValue") {
    return port::UnknownBox{content.int32()};
  }
  if (kind == "url") {
    return port::Url{content.string()};
  }
  if (kind == "element") {
    return desktop.element(readElementId(content, desktop));
  }
  if (kind == "null") {
    content.isTrue();
    return port::Null{};
  }
  if (kind == "dictionary") {
    port::Dictionary dictionary;
    for (const auto& [key, member] : content.members()) {
      dictionary.emplace(key, readValue(member, desktop, depth + 1));
    }
    return dictionary;
  }
  content.fail("unknown kind of value");
}

Value readValue(const JsonCursor& value, const ScriptedDesktop& desktop, int depth) {
  if (depth > kDeepest) {
    value.fail("nested too deeply");
  }
  const rapidjson::Value& json = value.raw();
  if (json.IsString()) {
    return value.string();
  }
  if (json.IsBool()) {
    return json.GetBool();
  }
  if (json.IsInt64()) {
    return json.GetInt64();
  }
  if (json.IsNumber()) {
    return json.GetDouble();
  }
  if (json.IsObject()) {
    return readMarkedValue(value, desktop, depth);
  }
  if (json.IsNull()) {
    value.fail("null is no value; {\"null\":true} is one");
  }
  port::Array array;
  for (const auto& item : value.items()) {
    array.push_back(readValue(item, desktop, depth + 1));
  }
  return array;
}

/// Gives the element and everything below it a node. `add` makes the element's own from its id.
void declareElement(const JsonCursor& element, const std::function<NodeId(const std::string&)>& add,
                    ScriptedDesktop& desktop, std::vector<DeclaredElement>& declared, int depth) {
  if (depth > kDeepest) {
    element.fail("nested too deeply");
  }
  JsonFields fields(element);
  const auto id = fields.required("id");
  if (id.string().empty()) {
    id.fail("an id is not empty");
  }
  if (desktop.find(id.string())) {
    id.fail("another element has the id \"" + id.string() + "\"");
  }
  const NodeId node = add(id.string());
  const auto children = fields.optional("children");
  declared.emplace_back(std::move(fields), node);
  if (!children) {
    return;
  }
  const auto addChild = [&](const std::string& childId) { return desktop.addElement(node, childId); };
  for (const auto& child : children->items()) {
    declareElement(child, addChild, desktop, declared, depth + 1);
  }
}

void readApplication(const JsonCursor& cursor, ScriptedDesktop& desktop, std::vector<DeclaredElement>& declared) {
  JsonFields fields(cursor);
  port::RunningApplication application;
  const auto pid = fields.required("pid");
  application.pid = pid.int32();
  if (desktop.application(application.pid)) {
    pid.fail("another application has this pid");
  }
  if (const auto identifier = fields.optional("bundleIdentifier"); identifier && !identifier->isNull()) {
    application.bundleIdentifier = identifier->string();
  }
  if (const auto description = fields.optional("description")) {
    application.description = description->string();
  }
  if (const auto policy = fields.optional("activationPolicy")) {
    application.activationPolicy = policy->int32();
  }
  if (const auto terminated = fields.optional("terminated")) {
    application.terminated = terminated->boolean();
  }
  const auto hangs = fields.optional("hung");
  const bool hung = hangs && hangs->boolean();
  const auto element = fields.optional("element");
  fields.finish();
  const auto add = [&](const std::string& id) { return desktop.addApplication(application, id, hung); };
  if (element) {
    declareElement(*element, add, desktop, declared, 0);
  } else {
    add("");
  }
}

void readApplications(const JsonCursor& applications, ScriptedDesktop& desktop) {
  std::vector<DeclaredElement> declared;
  for (const auto& application : applications.items()) {
    readApplication(application, desktop, declared);
  }
  for (auto& [fields, node] : declared) {
    desktop.edit(node, readEdit(fields, desktop));
    if (const auto actions = fields.optional("actions")) {
      desktop.setActions(node, actions->strings());
    }
    fields.finish();
  }
}

}  // namespace

std::shared_ptr<port::ScriptedPlatform> desktopFromJson(std::string_view json) {
  rapidjson::Document document;
  JsonFields fields(JsonCursor::parse(json, document));
  auto platform = std::make_shared<port::ScriptedPlatform>();
  readDesktop(fields, *platform);
  fields.finish();
  return platform;
}

void readDesktop(JsonFields& scenario, port::ScriptedPlatform& platform) {
  if (const auto clock = scenario.optional("clock")) {
    constexpr double kFarthest = 1e11;  // some thousand years either way
    if (!(std::abs(clock->number()) <= kFarthest)) {
      clock->fail("expected seconds since 1970");
    }
    platform.time().setWallTime(clock->number());
  }
  if (const auto trusted = scenario.optional("trusted")) {
    platform.scriptedAccessibility().setTrusted(trusted->boolean());
  }
  if (const auto host = scenario.optional("hostBundleIdentifier")) {
    platform.setHostIdentifier(host->string());
  }
  if (const auto defaults = scenario.optional("defaults")) {
    for (const auto& [key, value] : defaults->members()) {
      platform.defaults().setString(key, value.string());
    }
  }
  if (const auto logFile = scenario.optional("logFile")) {
    platform.setInitialLogFile(logFile->string());
  }
  if (const auto screens = scenario.optional("screens")) {
    platform.desktop().setScreens(readScreens(*screens));
  }
  if (const auto applications = scenario.optional("applications")) {
    readApplications(*applications, platform.desktop());
  }
  if (const auto hits = scenario.optional("hits")) {
    platform.desktop().setHits(readHits(*hits, platform.desktop()));
  }
}

NodeId readElementId(const JsonCursor& id, const ScriptedDesktop& desktop) {
  const auto node = desktop.find(id.string());
  if (!node) {
    id.fail("no element has the id \"" + id.string() + "\"");
  }
  return *node;
}

std::int32_t readPid(const JsonCursor& pid, const ScriptedDesktop& desktop) {
  const auto number = pid.int32();
  if (!desktop.application(number)) {
    pid.fail("no application has the pid " + std::to_string(number));
  }
  return number;
}

port::ElementEdit readEdit(JsonFields& element, const ScriptedDesktop& desktop) {
  port::ElementEdit edit;
  if (const auto attributes = element.optional("attributes")) {
    for (const auto& [name, value] : attributes->members()) {
      auto& change = edit.attributes.emplace_back(name, std::nullopt);
      if (!value.isNull()) {
        change.second = readValue(value, desktop, 0);
      }
    }
  }
  if (const auto errors = element.optional("errors")) {
    for (const auto& [name, code] : errors->members()) {
      auto& change = edit.errors.emplace_back(name, std::nullopt);
      if (!code.isNull()) {
        change.second = readFailureCode(code);
      }
    }
  }
  return edit;
}

std::vector<port::ScriptedHit> readHits(const JsonCursor& hits, const ScriptedDesktop& desktop) {
  std::vector<port::ScriptedHit> all;
  for (const auto& item : hits.items()) {
    JsonFields fields(item);
    port::ScriptedHit& hit = all.emplace_back();
    hit.point = {fields.required("x").number(), fields.required("y").number()};
    const auto [kind, answer] = fields.oneOf({"element", "none", "error"});
    fields.finish();
    if (kind == "element") {
      hit.answer = readElementId(answer, desktop);
    } else if (kind == "error") {
      hit.answer = readFailureCode(answer);
    } else {
      answer.isTrue();
    }
  }
  return all;
}

std::vector<CGRect> readScreens(const JsonCursor& screens) {
  std::vector<CGRect> all;
  for (const auto& item : screens.items()) {
    JsonFields fields(item);
    all.push_back({{fields.required("x").number(), fields.required("y").number()},
                   {fields.required("width").number(), fields.required("height").number()}});
    fields.finish();
  }
  return all;
}

CGRect readBox(const JsonCursor& box) {
  const auto numbers = box.numbers(4);
  return {{numbers[0], numbers[1]}, {numbers[2], numbers[3]}};
}

}  // namespace zqlogging
