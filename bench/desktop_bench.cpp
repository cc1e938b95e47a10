// What one click costs on a real desktop: the whole record of a click on a button, a link and a check box of a page in
// a browser, each pressed and released, read by the library and by clients of libatspi. Run it in a private desktop:
//   scripts/with-desktop build/release/bench/desktop_bench
// With --holds it prints how long the host's main thread is held on sick desktops instead.
//
// The controls read, through libatspi and one after the other, the facts that the record of the same click takes, each
// once: the names and frames of the application's windows, for the one at the point; the object at the point, asked
// until the answer stays the same; of the control around it role, states and frame; role, name and description of the
// element and of all above it up to the application; the element's value and address and the address of its page; the
// names of its children and siblings. The application itself they have met before, like the library. They differ in
// what libatspi trusts of what it knows:
// - a client without an event loop, like the library's worker: objects and their interfaces;
// - a client in libatspi's event loop, which hears of changes: roles, names, descriptions, states, parents and children
//   as well, on a connection of its own to the application.

#include <atspi/atspi.h>
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Ratios.h"
#include "desktop/PrivateDesktop.h"
#include "elements/ZQAccessibilityElement.h"
#include "events/ZQLogEventType.h"
#include "holds.h"
#include "linux/atspi/AtspiStatistics.h"
#include "service/ServiceImpl.h"

namespace zqlogging::bench {
namespace {

using zqlogging::testing::find;
using zqlogging::testing::frameOf;
using zqlogging::testing::middleOf;
using zqlogging::testing::Program;

struct Browser {
  LinuxPlatform desktop;
  Program program{{"chromium", "--no-sandbox", "--force-renderer-accessibility", "--no-first-run", "--disable-gpu",
                   "--user-data-dir=" + std::string(std::getenv("HOME")) + "/chromium", "--window-position=40,40",
                   "--window-size=900,900", PAGE}};
  std::vector<CGPoint> clicks;  ///< each control twice: press and release

  bool isReady() {
    clicks.clear();
    const auto app = desktop.accessibility().createApplicationElement(program.pid());
    const auto page = find(app, "AXWebArea", "Order form");
    const std::pair<const char*, const char*> controls[] = {
        {"AXButton", "Order now"}, {"AXLink", "terms of sale"}, {"AXCheckBox", "Gift wrapping"}};
    for (const auto& [role, name] : controls) {
      const auto found = page ? find(page, role, name) : nullptr;
      const CGRect frame = found ? frameOf(found) : CGRect{};
      if (frame.size.width <= 0) return false;
      clicks.insert(clicks.end(), 2, middleOf(frame));
    }
    return true;
  }
};
Browser* browser = nullptr;

void clickRecord(benchmark::State& state) {
  port::Platform& desktop = browser->desktop;
  const auto everything = desktop.accessibility().createSystemWideElement();
  const std::uint64_t calls = AtspiStatistics::calls;
  const std::uint64_t waits = AtspiStatistics::waits;
  std::size_t depth = 0, clicked = 0;
  for (auto _ : state) {
    const CGPoint point = browser->clicks[clicked++ % browser->clicks.size()];
    const auto scope = desktop.accessibility().openReadScope();
    const auto hit = everything->copyElementAtPosition(static_cast<float>(point.x), static_cast<float>(point.y));
    if (!hit) {
      state.SkipWithError("nothing was hit");
      break;
    }
    const ZQAccessibilityElement element(hit.value);
    benchmark::DoNotOptimize(element.elementName(true));
    const ZQXPath path = element.xPath(true, static_cast<std::uint64_t>(PlatformEventType::leftMouseUp));
    depth += path.pathItems.size();
    benchmark::DoNotOptimize(element.axValue());
    benchmark::DoNotOptimize(surroundingsOf(element));
    benchmark::DoNotOptimize(element.frame());
    benchmark::DoNotOptimize(element.axUrl());
    benchmark::DoNotOptimize(element.axDescription());
  }
  const auto each = [&](std::uint64_t sum) {
    return static_cast<double>(sum) / static_cast<double>(state.iterations());
  };
  state.counters["dbus_calls"] = each(AtspiStatistics::calls - calls);
  state.counters["waits"] = each(AtspiStatistics::waits - waits);
  state.counters["depth"] = each(depth);
}
BENCHMARK(clickRecord)->Unit(benchmark::kMillisecond);

template <class T>
using Object = std::unique_ptr<T, void (*)(gpointer)>;
using Accessible = Object<AtspiAccessible>;
Accessible own(AtspiAccessible* accessible) { return {accessible, g_object_unref}; }
using Text = std::unique_ptr<char, void (*)(gpointer)>;

Accessible theBrowser() {
  const auto desktop = own(atspi_get_desktop(0));
  for (int i = 0; i < atspi_accessible_get_child_count(desktop.get(), nullptr); ++i) {
    auto app = own(atspi_accessible_get_child_at_index(desktop.get(), i, nullptr));
    const auto pid = static_cast<guint>(browser->program.pid());
    if (app && atspi_accessible_get_process_id(app.get(), nullptr) == pid) return app;
  }
  return own(nullptr);
}

bool contains(AtspiAccessible* accessible, CGPoint point) {
  const Object<AtspiComponent> component(atspi_accessible_get_component_iface(accessible), g_object_unref);
  if (!component) return false;
  const std::unique_ptr<AtspiRect, void (*)(gpointer)> frame(
      atspi_component_get_extents(component.get(), ATSPI_COORD_TYPE_SCREEN, nullptr), g_free);
  return frame && point.x >= frame->x && point.x < frame->x + frame->width && point.y >= frame->y &&
         point.y < frame->y + frame->height;
}

bool hasState(AtspiAccessible* accessible, AtspiStateType wanted) {
  const Object<AtspiStateSet> states(atspi_accessible_get_state_set(accessible), g_object_unref);
  return states && atspi_state_set_contains(states.get(), wanted);
}

/// Whether it has a name.
bool readName(AtspiAccessible* accessible) {
  const Text name(atspi_accessible_get_name(accessible, nullptr), g_free);
  return name && *name;
}

void readDescription(AtspiAccessible* accessible) { g_free(atspi_accessible_get_description(accessible, nullptr)); }

/// The names of the children: what has none is named by its description or by its text.
void readChildren(AtspiAccessible* parent) {
  const int count = atspi_accessible_get_child_count(parent, nullptr);
  for (int i = 0; i < count; ++i) {
    const auto child = own(atspi_accessible_get_child_at_index(parent, i, nullptr));
    if (!child || readName(child.get())) continue;
    readDescription(child.get());
    benchmark::DoNotOptimize(atspi_accessible_get_role(child.get(), nullptr));
    if (atspi_accessible_get_child_count(child.get(), nullptr) > 0) continue;
    const Object<AtspiText> text(atspi_accessible_get_text_iface(child.get()), g_object_unref);
    if (text) g_free(atspi_text_get_text(text.get(), 0, atspi_text_get_character_count(text.get(), nullptr), nullptr));
  }
}

void readPageAddress(AtspiAccessible* page) {
  const Object<AtspiDocument> document(atspi_accessible_get_document_iface(page), g_object_unref);
  if (document)
    g_free(atspi_document_get_document_attribute_value(document.get(), const_cast<char*>("DocURL"), nullptr));
}

void readLinkAddress(AtspiAccessible* accessible) {
  const Object<AtspiHyperlink> link(atspi_accessible_get_hyperlink(accessible), g_object_unref);
  if (link) g_free(atspi_hyperlink_get_uri(link.get(), 0, nullptr));
}

Accessible windowAt(AtspiAccessible* app, CGPoint point) {
  auto found = own(nullptr);
  const int count = atspi_accessible_get_child_count(app, nullptr);
  for (int i = 0; i < count; ++i) {
    auto window = own(atspi_accessible_get_child_at_index(app, i, nullptr));
    if (!window) continue;
    readName(window.get());
    if (contains(window.get(), point)) found = std::move(window);
  }
  return found;
}

Accessible hitTest(AtspiAccessible* window, CGPoint point) {
  auto current = own(ATSPI_ACCESSIBLE(g_object_ref(window)));
  while (true) {
    const Object<AtspiComponent> component(atspi_accessible_get_component_iface(current.get()), g_object_unref);
    if (!component) return current;
    auto next = own(atspi_component_get_accessible_at_point(
        component.get(), static_cast<int>(point.x), static_cast<int>(point.y), ATSPI_COORD_TYPE_SCREEN, nullptr));
    if (!next || next.get() == current.get()) return current;
    current = std::move(next);
  }
}

/// The record of one click; false when there is no window at the point.
bool readRecord(AtspiAccessible* app, CGPoint point) {
  const auto window = windowAt(app, point);
  if (!window) return false;
  auto element = hitTest(window.get(), point);
  AtspiRole role = atspi_accessible_get_role(element.get(), nullptr);
  bool hasFrame = false;
  if (role == ATSPI_ROLE_STATIC) {
    element = own(atspi_accessible_get_parent(element.get(), nullptr));
    role = atspi_accessible_get_role(element.get(), nullptr);
    benchmark::DoNotOptimize(hasState(element.get(), ATSPI_STATE_EXPANDED));
    hasFrame = contains(element.get(), point);
  }
  if (!hasFrame) contains(element.get(), point);
  readName(element.get());
  readDescription(element.get());
  if (role == ATSPI_ROLE_CHECK_BOX) benchmark::DoNotOptimize(hasState(element.get(), ATSPI_STATE_CHECKED));
  if (role == ATSPI_ROLE_LINK) readLinkAddress(element.get());
  readChildren(element.get());

  auto above = own(atspi_accessible_get_parent(element.get(), nullptr));
  for (bool isParent = true; above; isParent = false) {
    const AtspiRole roleAbove = atspi_accessible_get_role(above.get(), nullptr);
    if (above.get() != window.get()) readName(above.get());
    readDescription(above.get());
    if (roleAbove == ATSPI_ROLE_DOCUMENT_WEB) readPageAddress(above.get());
    if (isParent) readChildren(above.get());
    if (roleAbove == ATSPI_ROLE_APPLICATION) break;
    above = own(atspi_accessible_get_parent(above.get(), nullptr));
  }
  return true;
}

void readRecords(benchmark::State& state) {
  const auto app = theBrowser();
  std::size_t clicked = 0;
  for (auto _ : state) {
    if (!app || !readRecord(app.get(), browser->clicks[clicked++ % browser->clicks.size()])) {
      state.SkipWithError("the browser is not there");
      break;
    }
  }
}

void withoutEventLoop(benchmark::State& state) { readRecords(state); }
BENCHMARK(withoutEventLoop)->Unit(benchmark::kMillisecond);

void inEventLoop(benchmark::State& state) {
  const auto ignore = [](AtspiEvent* event, void*) { g_boxed_free(ATSPI_TYPE_EVENT, event); };
  const Object<AtspiEventListener> listener(atspi_event_listener_new(ignore, nullptr, nullptr), g_object_unref);
  const char* const changes[] = {"object:children-changed", "object:property-change", "object:state-changed"};
  for (const char* change : changes) atspi_event_listener_register(listener.get(), change, nullptr);
  // By then libatspi has what the application told it when they met.
  constexpr guint settled = 500;
  const GSourceFunc read = [](gpointer measured) -> gboolean {
    readRecords(*static_cast<benchmark::State*>(measured));
    atspi_event_quit();
    return G_SOURCE_REMOVE;
  };
  g_timeout_add(settled, read, &state);
  atspi_event_main();
  for (const char* change : changes) atspi_event_listener_deregister(listener.get(), change, nullptr);
}
BENCHMARK(inEventLoop)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace zqlogging::bench

int main(int argc, char** argv) {
  using namespace zqlogging::bench;
  if (argc == 2 && std::string(argv[1]) == "--holds") {
    return printHolds();
  }
  if (!initialize(argc, argv)) return 1;

  atspi_init();
  Browser here;
  browser = &here;
  if (!zqlogging::testing::eventually([&] { return here.isReady(); })) {
    std::fprintf(stderr, "desktop_bench: the browser's page did not appear\n");
    return 1;
  }
  Keeper keeper;
  // Once in its event loop, libatspi keeps its own connection to the application.
  for (const char* benchmarks : {"clickRecord|withoutEventLoop", "inEventLoop"}) {
    benchmark::RunSpecifiedBenchmarks(&keeper, nullptr, benchmarks);
  }
  keeper.printRatios({{"the record of one click (libatspi, no event loop)", "clickRecord", "withoutEventLoop", 0.5},
                      {"the record of one click (libatspi in its event loop)", "clickRecord", "inEventLoop", 0.5}});
  return 0;
}
