#pragma once

#include <cstdint>

#include "linux/accessibility/AtspiServices.h"
#include "platform/Accessibility.h"

namespace zqlogging {

/// Makes the elements of this desktop, so that no kind of element has to know another one. Any thread.
class ElementFactory {
 public:
  explicit ElementFactory(AtspiServices& services) : services_(services) {}
  ElementFactory(const ElementFactory&) = delete;
  ElementFactory& operator=(const ElementFactory&) = delete;
  virtual ~ElementFactory() = default;

  /// What the elements read with.
  [[nodiscard]] AtspiServices& services() const { return services_; }

  [[nodiscard]] virtual port::ElementRef desktop() const = 0;
  [[nodiscard]] virtual port::ElementRef application(std::int32_t pid) const = 0;
  /// The element of an object of the bus. Waits for its process when it stands for an application.
  [[nodiscard]] virtual port::ElementRef object(const AtspiObject& object, AtspiBatch& batch) const = 0;
  /// The element of a window that only the X server knows.
  [[nodiscard]] virtual port::ElementRef window(const WindowStack::Window& window) const = 0;
  /// What lies at a screen point of such a window: its contents, or the window itself.
  [[nodiscard]] virtual port::ElementRef partOfWindow(const WindowStack::Window& window,
                                                      const CGPoint& point) const = 0;

 private:
  AtspiServices& services_;
};

}  // namespace zqlogging
