#pragma once

#include <sys/types.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "linux/LinuxPlatform.h"

namespace zqlogging::testing {

/// Runs the main loop until the condition holds; false when it doesn't for half a minute.
bool eventually(const std::function<bool()>& condition);

/// A program that ends with the test.
class Program {
 public:
  explicit Program(const std::vector<std::string>& command);
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;
  ~Program();

  [[nodiscard]] pid_t pid() const { return pid_; }
  [[nodiscard]] bool isRunning() const;
  void send(const std::string& line) const;
  void signal(int number) const;

 private:
  pid_t pid_;
  int input_;
};

/// The pointer and the keyboard of the desktop, as a remote-control program moves them.
class Input {
 public:
  Input();
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;
  ~Input();

  void moveTo(CGPoint point);
  void click(CGPoint point, int button = 1);
  void pressKey(std::uint32_t keysym);
  /// Presses a key of the desktop's own keyboard, which is no test device.
  void pressLocalKey(std::uint32_t keysym);

 private:
  struct Connection;
  std::unique_ptr<Connection> connection_;
};

/// Chromium on the sample page.
std::vector<std::string> browserCommand();

/// The process that owns a name on the session bus, or on the accessibility bus; 0 when there is none.
enum class Bus { session, accessibility };
pid_t ownerOf(Bus bus, const std::string& name);
/// How many match rules all programs have on the accessibility bus.
std::size_t matchRules();
std::size_t entriesOf(const std::string& directory);

// Elements, through the port alone.

std::string textOf(const port::ElementRef& element, const std::string& attribute);
/// The value as text: numbers as they are, elements as their role and title, no value as "-".
std::string valueOf(const port::ElementRef& element, const std::string& attribute);
std::vector<port::ElementRef> childrenOf(const port::ElementRef& element);
CGRect frameOf(const port::ElementRef& element);
CGPoint middleOf(const CGRect& frame);
/// The first element below with that role whose title, or else value, is the name; null when there is none.
port::ElementRef find(const port::ElementRef& root, const std::string& role, const std::string& name);
/// Role and title of the element and of all above it, e.g. "AXApplication:a/AXWindow:b/AXButton:c".
std::string pathOf(const port::ElementRef& element);
std::string describe(const port::ElementRef& element);

}  // namespace zqlogging::testing
