#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <thread>

class KeyboardReader;

/// Watches the pointer and the keyboard of an X session on a thread of its own, whoever has the focus and whatever is
/// grabbed (XInput 2 raw events).
class InputForwarder {
 public:
  enum class Kind : std::uint64_t { leftPress = 1, leftRelease = 2, rightPress = 3, rightRelease = 4, keyPress = 10 };
  struct Event {
    Kind kind;
    double x, y;             ///< the pointer, origin top-left
    bool injected;           ///< by a program, through the X server's test devices, as remote control does it
    std::string characters;  ///< of a key
  };

  /// Throws std::runtime_error when there is no X server or it lacks what is needed.
  InputForwarder();
  InputForwarder(const InputForwarder&) = delete;
  InputForwarder& operator=(const InputForwarder&) = delete;
  ~InputForwarder();

  /// From now on `handle` is called for each event, and `lost` when the server is gone, both on the forwarder's
  /// thread.
  void start(std::function<void(const Event&)> handle, std::function<void()> lost);
  /// Handles what the server has sent, and ends.
  void stop();

 private:
  struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
  };

  void connect();
  void checkInputExtension();
  void selectEvents();
  void findTestDevices();
  void run();
  bool handleArrivedEvents();
  void handleEvent(const xcb_generic_event_t& event);
  void handleButton(std::uint32_t physicalButton, bool pressed, std::uint16_t device);
  void handleKey(std::uint32_t keycode, std::uint16_t device);
  void forward(Kind kind, std::uint16_t device, std::string characters);

  std::function<void(const Event&)> handle_;
  std::function<void()> lost_;
  std::unique_ptr<xcb_connection_t, Disconnect> connection_;
  xcb_window_t root_ = XCB_NONE;
  std::uint8_t inputExtension_ = 0;
  std::set<std::uint16_t> testDevices_;
  std::unique_ptr<KeyboardReader> keyboard_;
  int stopDescriptor_ = -1;
  std::thread thread_;
};
