#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

#include "accessibility/AXNotification.h"
#include "accessibility/Action.h"
#include "accessibility/Attribute.h"
#include "accessibility/Role.h"
#include "accessibility/Subrole.h"

namespace zqlogging {
namespace {

/// A raw value, held in the table itself.
struct RawValue {
  static constexpr std::size_t kCapacity = 47;

  char text[kCapacity]{};
  unsigned char length = 0;

  [[nodiscard]] constexpr std::string_view view() const { return {text, length}; }
};

consteval RawValue named(std::string_view rawValue) {
  RawValue result;
  std::copy(rawValue.begin(), rawValue.end(), result.text);
  result.length = static_cast<unsigned char>(rawValue.size());
  return result;
}

consteval RawValue derived(std::string_view caseName) {
  RawValue result = named("AX");
  for (const char c : caseName) {
    result.text[result.length++] = c;
  }
  char& first = result.text[2];
  if (first >= 'a' && first <= 'z') {
    first = static_cast<char>(first - 'a' + 'A');
  }
  return result;
}

/// The raw values of one enumeration, by case and in their own order.
template <class Case, std::size_t N>
class Table {
 public:
  explicit consteval Table(const std::array<RawValue, N>& rawValues) : rawValues_(rawValues) {
    for (std::size_t i = 0; i < N; ++i) {
      sorted_[i] = static_cast<Case>(i);
    }
    std::sort(sorted_.begin(), sorted_.end(), [this](Case a, Case b) { return rawValue(a) < rawValue(b); });
  }

  [[nodiscard]] constexpr std::string_view rawValue(Case value) const {
    return rawValues_[static_cast<std::size_t>(value)].view();
  }

  [[nodiscard]] constexpr std::optional<Case> find(std::string_view text) const {
    const auto found =
        std::lower_bound(sorted_.begin(), sorted_.end(), text,
                         [this](Case value, std::string_view wanted) { return rawValue(value) < wanted; });
    if (found == sorted_.end() || rawValue(*found) != text) {
      return std::nullopt;
    }
    return *found;
  }

 private:
  std::array<RawValue, N> rawValues_;
  std::array<Case, N> sorted_{};
};

template <class Case, std::size_t N>
consteval Table<Case, N> tableOf(const RawValue (&rawValues)[N]) {
  return Table<Case, N>(std::to_array(rawValues));
}

#define ZQ_DERIVED(x) derived(#x),
#define ZQ_NAMED(x, raw) named(raw),

constexpr auto kNotifications = tableOf<AXNotification>({ZQ_AX_NOTIFICATIONS(ZQ_DERIVED, ZQ_NAMED)});
constexpr auto kRoles = tableOf<Role>({ZQ_ROLES(ZQ_DERIVED, ZQ_NAMED)});
constexpr auto kSubroles = tableOf<Subrole>({ZQ_SUBROLES(ZQ_DERIVED, ZQ_NAMED)});
constexpr auto kAttributes = tableOf<Attribute>({ZQ_ATTRIBUTES(ZQ_DERIVED, ZQ_NAMED)});
constexpr auto kActions = tableOf<Action>({ZQ_ACTIONS(ZQ_DERIVED, ZQ_NAMED)});

}  // namespace

std::string_view rawValue(AXNotification value) { return kNotifications.rawValue(value); }
std::optional<AXNotification> axNotificationFromRawValue(std::string_view rawValue) {
  return kNotifications.find(rawValue);
}

std::string_view rawValue(Role value) { return kRoles.rawValue(value); }
std::optional<Role> roleFromRawValue(std::string_view rawValue) { return kRoles.find(rawValue); }

std::string_view rawValue(Subrole value) { return kSubroles.rawValue(value); }
std::optional<Subrole> subroleFromRawValue(std::string_view rawValue) { return kSubroles.find(rawValue); }

std::string_view rawValue(Attribute value) { return kAttributes.rawValue(value); }
std::optional<Attribute> attributeFromRawValue(std::string_view rawValue) { return kAttributes.find(rawValue); }

std::string_view rawValue(Action value) { return kActions.rawValue(value); }
std::optional<Action> actionFromRawValue(std::string_view rawValue) { return kActions.find(rawValue); }

}  // namespace zqlogging
