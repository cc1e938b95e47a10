// What one click costs on a real desktop: the whole record of a button in a browser page, read by the library and by
// a client of libatspi with a warm cache that reads the same facts. Run it in a private desktop:
//   scripts/with-desktop build/release/bench/desktop_bench

#include <atspi/atspi.h>
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "Ratios.h"
#include "desktop/PrivateDesktop.h"
#include "elements/ZQAccessibilityElement.h"
#include "platform/linux/AtspiStatistics.h"
#include "service/ServiceState.h"

namespace zqlogging::bench {
namespace {

using zqlogging::testing::eventually;
using zqlogging::testing::find;
using zqlogging::testing::frameOf;
using zqlogging::testing::middleOf;
using zqlogging::testing::Program;

struct Browser {
  LinuxPlatform desktop;
  Program program{{"chromium", "--no-sandbox", "--force-renderer-accessibility", "--no-first-run", "--disable-gpu",
                   "--user-data-dir=" + std::string(std::getenv("HOME")) + "/chromium", "--window-position=40,40",
                   "--window-size=900,900", PAGE}};
  CGPoint button;

  bool isReady() {
    const auto app = desktop.accessibility().createApplicationElement(program.pid());
    const auto page = find(app, "AXWebArea", "Order form");
    const auto found = page ? find(page, "AXButton", "Order now") : nullptr;
    const CGRect frame = found ? frameOf(found) : CGRect{};
    button = middleOf(frame);
    return frame.size.width > 0;
  }
};
Browser* browser = nullptr;

void clickRecord(benchmark::State& state) {
  port::Platform& desktop = browser->desktop;
  const auto everything = desktop.accessibility().createSystemWideElement();
  const std::uint64_t calls = AtspiStatistics::calls;
  const std::uint64_t waits = AtspiStatistics::waits;
  std::size_t depth = 0;
  for (auto _ : state) {
    const auto scope = desktop.accessibility().openReadScope();
    const auto hit = everything->copyElementAtPosition(static_cast<float>(browser->button.x),
                                                       static_cast<float>(browser->button.y));
    if (!hit) {
      state.SkipWithError("nothing was hit");
      break;
    }
    const ZQAccessibilityElement element(hit.value);
    benchmark::DoNotOptimize(element.elementName(true));
    const ZQXPath path = element.xPath(true, 1);
    depth = path.pathItems.size();
    benchmark::DoNotOptimize(element.axValue());
    benchmark::DoNotOptimize(surroundingsOf(element));
    benchmark::DoNotOptimize(element.frame());
    benchmark::DoNotOptimize(element.axUrl());
    benchmark::DoNotOptimize(element.axDescription());
  }
  const auto each = [&](std::uint64_t now, std::uint64_t before) {
    return static_cast<double>(now - before) / static_cast<double>(state.iterations());
  };
  state.counters["dbus_calls"] = each(AtspiStatistics::calls, calls);
  state.counters["waits"] = each(AtspiStatistics::waits, waits);
  state.counters["depth"] = static_cast<double>(depth);
}
BENCHMARK(clickRecord)->Unit(benchmark::kMillisecond);

template <class T>
using Object = std::unique_ptr<T, void (*)(gpointer)>;
Object<AtspiAccessible> own(AtspiAccessible* accessible) { return {accessible, g_object_unref}; }

/// The texts of one element that a path and a name take.
void readTexts(AtspiAccessible* element) {
  g_free(atspi_accessible_get_name(element, nullptr));
  g_free(atspi_accessible_get_description(element, nullptr));
  benchmark::DoNotOptimize(atspi_accessible_get_role(element, nullptr));
}

void readFrame(AtspiAccessible* element) {
  const Object<AtspiComponent> component(atspi_accessible_get_component_iface(element), g_object_unref);
  if (component) g_free(atspi_component_get_extents(component.get(), ATSPI_COORD_TYPE_SCREEN, nullptr));
}

void readChildren(AtspiAccessible* element) {
  const int count = atspi_accessible_get_child_count(element, nullptr);
  for (int i = 0; i < count; ++i) {
    if (const auto child = own(atspi_accessible_get_child_at_index(element, i, nullptr))) readTexts(child.get());
  }
}

Object<AtspiAccessible> hitTest(AtspiAccessible* from, CGPoint point) {
  auto current = own(ATSPI_ACCESSIBLE(g_object_ref(from)));
  while (true) {
    const Object<AtspiComponent> component(atspi_accessible_get_component_iface(current.get()), g_object_unref);
    if (!component) return current;
    auto next = own(atspi_component_get_accessible_at_point(component.get(), static_cast<int>(point.x),
                                                            static_cast<int>(point.y), ATSPI_COORD_TYPE_SCREEN,
                                                            nullptr));
    if (!next || next.get() == current.get()) return current;
    current = std::move(next);
  }
}

void clickRecordControl(benchmark::State& state) {
  const auto desktop = own(atspi_get_desktop(0));
  for (auto _ : state) {
    auto window = own(nullptr);
    for (int i = 0; i < atspi_accessible_get_child_count(desktop.get(), nullptr); ++i) {
      const auto app = own(atspi_accessible_get_child_at_index(desktop.get(), i, nullptr));
      if (app && atspi_accessible_get_process_id(app.get(), nullptr) == static_cast<guint>(browser->program.pid())) {
        window = own(atspi_accessible_get_child_at_index(app.get(), 0, nullptr));
      }
    }
    if (!window) {
      state.SkipWithError("the browser is not there");
      break;
    }
    const auto element = hitTest(window.get(), browser->button);
    readTexts(element.get());
    readFrame(element.get());
    readChildren(element.get());
    bool isParent = true;
    for (auto above = own(atspi_accessible_get_parent(element.get(), nullptr)); above;
         above = own(atspi_accessible_get_parent(above.get(), nullptr))) {
      readTexts(above.get());
      if (std::exchange(isParent, false)) readChildren(above.get());
      if (atspi_accessible_get_role(above.get(), nullptr) == ATSPI_ROLE_APPLICATION) break;
    }
    readFrame(window.get());
  }
}
BENCHMARK(clickRecordControl)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace zqlogging::bench

int main(int argc, char** argv) {
  using namespace zqlogging::bench;
  atspi_init();
  Browser here;
  browser = &here;
  if (!zqlogging::testing::eventually([&] { return here.isReady(); })) {
    std::fprintf(stderr, "desktop_bench: the browser's page did not appear\n");
    return 1;
  }
  return run(argc, argv,
             {{"the record of one click (libatspi, warm cache)", "clickRecord", "clickRecordControl", 0.5}});
}
