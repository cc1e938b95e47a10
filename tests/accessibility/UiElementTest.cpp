#include <gmock/gmock.h>

#include <functional>
#include <limits>
#include <set>
#include <sstream>

#include "accessibility/Application.h"
#include "accessibility/ObjC.h"
#include "accessibility/SystemWideElement.h"
#include "accessibility/ThrownBy.h"
#include "accessibility/UIElement.h"
#include "support/FakePlatform.h"

namespace zqlogging {
namespace {

using port::ResultCode;
using test::FakeElement;
using test::FakePlatform;
using test::thrownBy;
using testing::ElementsAre;
using testing::IsEmpty;
using enum port::ResultCode;

constexpr int kFirstKnownCode = -25200;
constexpr int kLastKnownCode = -25214;

class UIElementTest : public testing::Test {
 protected:
  FakePlatform platform;
  std::shared_ptr<FakeElement> fake = std::make_shared<FakeElement>(platform);
  std::shared_ptr<FakeElement> other = std::make_shared<FakeElement>(platform, "other");
  UIElement element{fake};
};

TEST_F(UIElementTest, EachOperationTurnsCodesIntoAbsenceOrErrorsByItsOwnRule) {
  struct Rule {
    const char* operation;
    std::function<bool()> run;    ///< whether it gave true, a value or a list with members
    std::set<ResultCode> absent;  ///< codes that make it give nothing; every other code is thrown
  };
  constexpr auto kTitle = Attribute::title;
  const std::set<ResultCode> missing = {noValue, attributeUnsupported};
  const std::vector<Rule> rules = {
      {"attributes", [&] { return !element.attributes().empty(); }, missing},
      {"attributesAsStrings", [&] { return !element.attributesAsStrings().empty(); }, missing},
      {"parameterizedAttributes", [&] { return !element.parameterizedAttributes().empty(); }, missing},
      {"actions", [&] { return !element.actions().empty(); }, missing},
      {"attributeIsSupported", [&] { return element.attributeIsSupported(kTitle); }, missing},
      {"attributeIsSettable", [&] { return element.attributeIsSettable(kTitle); }, missing},
      {"attribute", [&] { return element.attribute<bool>(kTitle).has_value(); }, missing},
      {"arrayAttribute", [&] { return element.arrayAttribute<bool>(kTitle).has_value(); }, missing},
      {"valuesForAttribute", [&] { return element.valuesForAttribute<bool>(kTitle, 0, 1).has_value(); }, missing},
      {"valueCountForAttribute",
       [&] { return element.valueCountForAttribute(kTitle).has_value(); },
       {attributeUnsupported, illegalArgument}},
      {"parameterizedAttribute", [&] { return element.parameterizedAttribute<bool>(kTitle, true).has_value(); },
       missing},
      {"actionDescription",
       [&] { return element.actionDescription(Action::press).has_value(); },
       {actionUnsupported, noValue}},
      {"role", [&] { return element.role().has_value(); }, missing},
      {"setAttribute", [&] { return element.setAttribute(kTitle, true), true; }, {}},
      {"performAction", [&] { return element.performAction(Action::press), true; }, {}},
      {"pid", [&] { return element.pid() != 0; }, {}},
      {"getMultipleAttributes", [&] { return !element.getMultipleAttributes(kTitle).empty(); }, {}},
      {"elementAtPosition", [&] { return element.elementAtPosition(1, 2) != nullptr; }, {noValue}},
  };
  for (const Rule& rule : rules) {
    for (int number = kLastKnownCode - 1; number <= kFirstKnownCode + 1; ++number) {
      const auto code = static_cast<ResultCode>(number);
      fake->answer = code;
      bool something = false;
      const ResultCode thrown = thrownBy([&] { something = rule.run(); });
      EXPECT_EQ(thrown, rule.absent.contains(code) ? success : code) << rule.operation;
      const bool supportedWithoutValue = rule.operation == std::string("attributeIsSupported") && code == noValue;
      EXPECT_EQ(something, supportedWithoutValue) << rule.operation << " on " << number;
    }
  }
}

TEST_F(UIElementTest, UnknownNamesStayInTheTextListsAndAreLeftOutOfTheTypedOnes) {
  fake->names = {"AXTitle", "AXMadeUp", "AXRole"};
  fake->parameterizedNames = {"AXMadeUp", "AXLineForIndexParameterized"};
  fake->actionNames = {"AXPress", "AXMadeUp", "AXDelete"};
  EXPECT_EQ(element.attributesAsStrings(), fake->names);
  EXPECT_EQ(element.parameterizedAttributesAsStrings(), fake->parameterizedNames);
  EXPECT_EQ(element.actionsAsStrings(), fake->actionNames);
  EXPECT_THAT(element.parameterizedAttributes(), ElementsAre(Attribute::lineForIndexParameterized));
  EXPECT_THAT(element.actions(), ElementsAre(Action::press, Action::delete_));
  EXPECT_THAT(platform.printed, IsEmpty());
  EXPECT_THAT(element.attributes(), ElementsAre(Attribute::title, Attribute::role));
  EXPECT_THAT(platform.printed, ElementsAre("Unrecognized attribute: AXMadeUp"));
}

TEST_F(UIElementTest, RequestsCarryTheRawNamesAndTheirAnswersComeBack) {
  fake->attributes = {{"AXRole", "AXButton"}, {"AXSubrole", "AXSwitch"}};
  EXPECT_EQ(element.role(), Role::button);
  EXPECT_EQ(element.subrole(), Subrole::switchSubrole);
  EXPECT_TRUE(element.attributeIsSupported(Attribute::role));
  EXPECT_EQ(fake->asked.range, std::make_pair(std::int64_t{0}, std::int64_t{0}));
  EXPECT_TRUE(element.attributeIsSettable(Attribute::role));
  EXPECT_EQ(element.valueCountForAttribute(Attribute::children), 3);
  EXPECT_EQ(element.actionDescription(Action::press), "does AXPress");
  EXPECT_EQ(element.pid(), 7);
  element.performAction(Action::showMenu);
  EXPECT_THAT(fake->asked.performed, ElementsAre("AXShowMenu"));
}

TEST_F(UIElementTest, ValuesAreReadAsTheirKindAndNoOther) {
  struct Kind {
    const char* name;
    port::Value value;
    std::function<bool()> read;  ///< reads AXValue as this kind; whether it is the value above
  };
  const auto reads = [&](auto expected) {
    return [this, expected] { return element.attribute<decltype(expected)>(Attribute::value) == expected; };
  };
  const std::vector<Kind> kinds = {
      {"boolean", true, reads(true)},
      {"integer", std::int64_t{1}, reads(std::int64_t{1})},
      {"string", "1", reads(std::string("1"))},
      {"point", CGPoint{1, 2}, reads(CGPoint{1, 2})},
      {"size", CGSize{1, 2}, reads(CGSize{1, 2})},
      {"rectangle", CGRect{{1, 2}, {3, 4}}, reads(CGRect{{1, 2}, {3, 4}})},
      {"range", port::CFRange{1, 2}, reads(port::CFRange{1, 2})},
      {"error", noValue, reads(AXError(noValue))},
      {"element", port::ElementRef(other),
       [&] {
         const auto found = element.attribute<std::shared_ptr<UIElement>>(Attribute::value);
         return found && (*found)->element() == other && (*found)->messagingTimeout() == 0;
       }},
      {"unknown box", port::UnknownBox{6},
       [&] { return element.attribute<port::UnknownBox>(Attribute::value).value().type == 6; }},
      {"array", port::Array{true},
       [&] { return element.attribute<port::Array>(Attribute::value).value().size() == 1; }},
  };
  for (const Kind& stored : kinds) {
    fake->attributes["AXValue"] = stored.value;
    for (const Kind& asked : kinds) {
      bool asStored = false;
      const ResultCode thrown = thrownBy([&] { asStored = asked.read(); });
      EXPECT_EQ(thrown, &asked == &stored ? success : illegalArgument) << stored.name << " as " << asked.name;
      EXPECT_EQ(asStored, &asked == &stored) << stored.name << " as " << asked.name;
    }
    const UnpackedValue any = element.attribute<UnpackedValue>(Attribute::value).value();
    const bool writable = !std::holds_alternative<AXError>(any);
    fake->attributes.clear();
    EXPECT_EQ(thrownBy([&] { element.setAttribute(Attribute::value, any); }), writable ? success : illegalArgument);
    EXPECT_EQ(stored.read(), writable) << stored.name << " after it was written back";
  }
}

TEST_F(UIElementTest, MembersOfArraysAreUnpackedAndMustBeOfTheKindAsked) {
  using Elements = std::shared_ptr<UIElement>;
  fake->attributes = {{"AXChildren", port::Array{port::ElementRef(other)}}, {"AXTitle", "no array"}};

  EXPECT_EQ(element.arrayAttribute<Elements>(Attribute::children).value().at(0)->element(), other);
  EXPECT_EQ(thrownBy([&] { (void)element.arrayAttribute<Elements>(Attribute::title); }), illegalArgument);
  EXPECT_EQ(thrownBy([&] { (void)element.arrayAttribute<std::string>(Attribute::children); }), illegalArgument);

  EXPECT_EQ(element.valuesForAttribute<Elements>(Attribute::children, 1, 40).value().at(0)->element(), other);
  EXPECT_EQ(fake->asked.range, std::make_pair(std::int64_t{1}, std::int64_t{40}));
  EXPECT_EQ(thrownBy([&] { (void)element.valuesForAttribute<bool>("AXChildren", 0, 1); }), illegalArgument);
}

TEST_F(UIElementTest, AParameterIsPackedAndItsAnswerUnpacked) {
  fake->attributes = {{"AXCellForColumnAndRowParameterized", port::ElementRef(other)}};
  const auto found = element.parameterizedAttribute<std::shared_ptr<UIElement>>(
      Attribute::cellForColumnAndRowParameterized, std::make_shared<UIElement>(other));
  EXPECT_EQ(found.value()->element(), other);
  EXPECT_EQ(std::get<port::ElementRef>(fake->asked.parameters.back()), other);
}

TEST_F(UIElementTest, SeveralAttributesComeWithoutThoseThatHaveNoValue) {
  fake->attributes = {{"AXTitle", "Save"}, {"AXParent", port::ElementRef(other)}, {"AXHelp", port::Null{}}};
  fake->errors = {{"AXValue", noValue}, {"AXDescription", attributeUnsupported}};

  auto found = element.getMultipleAttributes(Attribute::value, Attribute::title, Attribute::help,
                                             Attribute::description, Attribute::parent);
  EXPECT_EQ(found.size(), 2U);
  EXPECT_EQ(std::get<std::string>(found.at(Attribute::title)), "Save");
  EXPECT_EQ(std::get<std::shared_ptr<UIElement>>(found.at(Attribute::parent))->element(), other);
  EXPECT_THAT(element.getMultipleAttributes(std::vector<std::string>{"AXTitle", "AXMadeUp"}), testing::SizeIs(1));

  fake->errors["AXValue"] = cannotComplete;
  EXPECT_EQ(thrownBy([&] { (void)element.getMultipleAttributes(Attribute::title, Attribute::value); }), cannotComplete);
}

TEST_F(UIElementTest, AnOverriddenStringFormServesTheTypedFormsToo) {
  struct Masked : UIElement {
    using UIElement::attributeValue;
    using UIElement::getMultipleAttributes;
    using UIElement::UIElement;
    std::optional<UnpackedValue> attributeValue(const std::string& attribute) const override {
      return "masked " + attribute;
    }
    std::unordered_map<std::string, UnpackedValue> getMultipleAttributes(
        const std::vector<std::string>& names) const override {
      return {{names.front(), true}, {"AXMadeUp", true}};
    }
  };
  const Masked masked(fake);
  EXPECT_EQ(masked.attribute<std::string>(Attribute::title), "masked AXTitle");
  EXPECT_THAT(masked.getMultipleAttributes(Attribute::title), ElementsAre(testing::Pair(Attribute::title, testing::_)));
}

TEST_F(UIElementTest, TheMessagingTimeoutIsStoredClampedAndPushed) {
  EXPECT_EQ(element.messagingTimeout(), 0);
  for (const float seconds : {2.0F, -1.0F, 0.5F, 0.0F, 3.0F, std::numeric_limits<float>::quiet_NaN()}) {
    element.setMessagingTimeout(seconds);
    EXPECT_EQ(element.messagingTimeout(), fake->asked.timeouts.back());
  }
  EXPECT_THAT(fake->asked.timeouts, ElementsAre(2, 0, 0.5F, 0, 3, 0));
}

TEST_F(UIElementTest, AFailedTimeoutPushIsReportedUnlessTheElementIsGone) {
  for (const ResultCode code : {invalidUIElement, cannotComplete}) {
    fake->answer = code;
    element.setMessagingTimeout(2);
  }
  EXPECT_THAT(platform.general, ElementsAre("Unexpected error setting messaging timeout: AXError.CannotComplete"));
  EXPECT_EQ(element.messagingTimeout(), 2);
}

TEST_F(UIElementTest, AHitTestWaitsATenthOfASecondAndWrapsWhatItFinds) {
  fake->hit = other;
  const auto found = element.elementAtPosition(12.5F, -3);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->element(), other);
  EXPECT_EQ(found->messagingTimeout(), 0);
  EXPECT_EQ(fake->asked.point, std::make_pair(12.5F, -3.0F));
  EXPECT_EQ(fake->asked.timeouts, std::vector<float>{0.1F});
  EXPECT_EQ(element.messagingTimeout(), 0.1F);
}

TEST_F(UIElementTest, MissingElementsAreErrorsNotCrashes) {
  fake->hit = nullptr;
  fake->attributes = {{"AXParent", port::ElementRef()}};
  EXPECT_EQ(thrownBy([&] { (void)element.elementAtPosition(1, 1); }), illegalArgument);
  EXPECT_EQ(thrownBy([&] { (void)element.attribute<UnpackedValue>(Attribute::parent); }), illegalArgument);
  EXPECT_EQ(thrownBy([&] { element.setAttribute(Attribute::parent, std::shared_ptr<UIElement>()); }), illegalArgument);
}

TEST_F(UIElementTest, WrappersAreEqualWhenTheirElementsAre) {
  EXPECT_TRUE(element == UIElement(std::make_shared<FakeElement>(platform)));
  EXPECT_FALSE(element == UIElement(other));
}

TEST_F(UIElementTest, TheDescriptionNamesRoleLabelAndProcess) {
  platform.running = {{.pid = 7, .bundleIdentifier = "com.example.notes", .description = ""}};
  const auto described = [&](const port::Value& role, ResultCode roleError = success, ResultCode answer = success) {
    fake->attributes = {{"AXRole", role}, {"AXTitle", "Preferences"}};
    fake->errors.clear();
    if (roleError != success) {
      fake->errors["AXRole"] = roleError;
    }
    fake->answer = answer;
    return element.description();
  };
  EXPECT_EQ(described("AXButton"), "<AXButton \"fake\" (pid=7)>");
  EXPECT_EQ(described("AXWindow"), "<AXWindow \"Preferences\" (pid=7)>");
  EXPECT_EQ(described("AXApplication"), "<AXApplication \"com.example.notes\" (pid=7)>");
  EXPECT_EQ(described("AXWebArea"), "<UIElementNoRole \"fake\" (pid=7)>");
  EXPECT_EQ(described("", noValue), "<UIElementNoRole \"fake\" (pid=7)>");
  EXPECT_EQ(described(true), "<UnknownUIElement \"fake\" (pid=7)>");
  EXPECT_EQ(described("", success, invalidUIElement), "<InvalidUIElement \"fake\" (pid=0)>");
  platform.running.clear();
  EXPECT_EQ(described("AXApplication"), "<AXApplication \"\" (pid=7)>");
  described("AXWindow");
  fake->errors["AXTitle"] = cannotComplete;
  EXPECT_EQ(element.description(), "<AXWindow \"\" (pid=7)>");
}

TEST_F(UIElementTest, InspectShowsEveryKnownAttribute) {
  fake->names = {"AXTitle", "AXMadeUp", "AXPosition"};
  fake->attributes = {{"AXTitle", "Save"}, {"AXMadeUp", true}, {"AXPosition", CGPoint{1, 2.5}}};
  const std::string text = element.inspect();
  EXPECT_THAT(text, testing::HasSubstr("AXTitle: \"Save\""));
  EXPECT_THAT(text, testing::HasSubstr("AXPosition: (1, 2.5)"));
  EXPECT_THAT(text, testing::Not(testing::HasSubstr("AXMadeUp")));
}

TEST_F(UIElementTest, TheGlobalTimeoutIsThatOfTheSharedSystemWideElement) {
  UIElement::setGlobalMessagingTimeout(platform, 0.25F);
  EXPECT_EQ(platform.systemWide->asked.timeouts, std::vector<float>{0.25F});
  const auto shared = SystemWideElement::shared(platform);
  EXPECT_EQ(shared->messagingTimeout(), 0.25F);
  EXPECT_EQ(SystemWideElement::shared(platform), shared);

  const auto replacement = std::make_shared<SystemWideElement>(other);
  SystemWideElement::setShared(platform, replacement);
  EXPECT_EQ(SystemWideElement::shared(platform), replacement);
  EXPECT_EQ(UIElement::globalMessagingTimeout(platform), 0);
}

TEST(AXError, NamesItsCode) {
  std::istringstream names(
      "Failure IllegalArgument InvalidUIElement InvalidUIElementObserver CannotComplete AttributeUnsupported "
      "ActionUnsupported NotificationUnsupported NotImplemented NotificationAlreadyRegistered "
      "NotificationNotRegistered APIDisabled NoValue ParameterizedAttributeUnsupported NotEnoughPrecision <Unknown>");
  int number = kFirstKnownCode;
  for (std::string name; names >> name;) {
    const AXError error(static_cast<ResultCode>(number--));
    EXPECT_EQ(error.valueAsString(), name);
    EXPECT_EQ(error.what(), "AXError." + name);
  }
}

TEST(ObjC, TurnsPlatformExceptionsIntoErrorsAndNothingElse) {
  bool finished = false;
  ObjC::perform([&] { finished = true; });
  EXPECT_TRUE(finished);
  try {
    ObjC::perform([] { throw port::PlatformException("element went away"); });
    FAIL() << "nothing thrown";
  } catch (const NSExceptionError& error) {
    EXPECT_STREQ(error.what(), "element went away");
    EXPECT_STREQ(error.exception.what(), "element went away");
  }
  EXPECT_THROW(ObjC::perform([] { throw AXError(ResultCode::noValue); }), AXError);
}

}  // namespace
}  // namespace zqlogging
