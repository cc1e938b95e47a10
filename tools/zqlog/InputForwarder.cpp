#include "InputForwarder.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <xcb/xinput.h>

#include <cstdlib>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "KeyboardReader.h"
#include "XReply.h"

InputForwarder::InputForwarder() {
  connect();
  checkInputExtension();
  keyboard_ = std::make_unique<KeyboardReader>(connection_.get());
}

void InputForwarder::start(std::function<void(const Event&)> handle, std::function<void()> lost) {
  handle_ = std::move(handle);
  lost_ = std::move(lost);
  stopDescriptor_ = eventfd(0, EFD_CLOEXEC);
  if (stopDescriptor_ < 0) {
    throw std::runtime_error("no event descriptor can be had");
  }
  selectEvents();
  findTestDevices();
  thread_ = std::thread([this] { run(); });
}

InputForwarder::~InputForwarder() { stop(); }

void InputForwarder::stop() {
  if (thread_.joinable()) {
    eventfd_write(stopDescriptor_, 1);
    thread_.join();
  }
  if (const int descriptor = std::exchange(stopDescriptor_, -1); descriptor >= 0) {
    close(descriptor);
  }
}

void InputForwarder::connect() {
  int screenNumber = 0;
  connection_.reset(xcb_connect(nullptr, &screenNumber));
  if (xcb_connection_has_error(connection_.get()) != 0) {
    const char* display = std::getenv("DISPLAY");
    throw std::runtime_error(display != nullptr ? "the X server " + std::string(display) + " cannot be reached"
                                                : "there is no X server (DISPLAY is not set)");
  }
  auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection_.get()));
  for (; screens.rem > 1 && screenNumber > 0; --screenNumber) {
    xcb_screen_next(&screens);
  }
  root_ = screens.data->root;
}

void InputForwarder::checkInputExtension() {
  const auto* extension = xcb_get_extension_data(connection_.get(), &xcb_input_id);
  const auto version = xcb_input_xi_query_version(connection_.get(), 2, 2);  // 2.1 on: raw events despite grabs
  const Reply<xcb_input_xi_query_version_reply_t> answer(
      xcb_input_xi_query_version_reply(connection_.get(), version, nullptr));
  if (extension == nullptr || extension->present == 0 || !answer || answer->major_version < 2) {
    throw std::runtime_error("the X server has no XInput 2");
  }
  inputExtension_ = extension->major_opcode;
}

void InputForwarder::selectEvents() {
  struct {
    xcb_input_event_mask_t header;
    std::uint32_t mask;
  } selections[] = {
      {{XCB_INPUT_DEVICE_ALL_MASTER, 1},
       XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE |
           XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS},
      {{XCB_INPUT_DEVICE_ALL, 1}, XCB_INPUT_XI_EVENT_MASK_HIERARCHY},
  };
  for (auto& selection : selections) {
    xcb_input_xi_select_events(connection_.get(), root_, 1, &selection.header);
  }
}

/// The server marks its test devices with a property; what XTEST requests inject comes from them.
void InputForwarder::findTestDevices() {
  constexpr std::string_view kProperty = "XTEST Device";
  xcb_connection_t* x = connection_.get();
  const auto asked = xcb_intern_atom(x, 0, static_cast<std::uint16_t>(kProperty.size()), kProperty.data());
  const auto devicesAsked = xcb_input_xi_query_device(x, XCB_INPUT_DEVICE_ALL);
  const Reply<xcb_intern_atom_reply_t> property(xcb_intern_atom_reply(x, asked, nullptr));
  const Reply<xcb_input_xi_query_device_reply_t> devices(xcb_input_xi_query_device_reply(x, devicesAsked, nullptr));
  testDevices_.clear();
  if (!property || !devices) {
    return;
  }
  for (auto each = xcb_input_xi_query_device_infos_iterator(devices.get()); each.rem != 0;
       xcb_input_xi_device_info_next(&each)) {
    const auto cookie = xcb_input_xi_get_property(x, each.data->deviceid, 0, property->atom, XCB_ATOM_INTEGER, 0, 1);
    const Reply<xcb_input_xi_get_property_reply_t> mark(xcb_input_xi_get_property_reply(x, cookie, nullptr));
    if (mark && mark->num_items > 0 && *static_cast<std::uint8_t*>(xcb_input_xi_get_property_items(mark.get())) != 0) {
      testDevices_.insert(each.data->deviceid);
    }
  }
}

void InputForwarder::run() {
  pollfd waiting[] = {{xcb_get_file_descriptor(connection_.get()), POLLIN, 0}, {stopDescriptor_, POLLIN, 0}};
  bool stopped = false;
  while (handleArrivedEvents()) {
    if (stopped) {
      return;
    }
    xcb_flush(connection_.get());
    poll(waiting, std::size(waiting), -1);
    stopped = (waiting[1].revents & POLLIN) != 0;
  }
  lost_();
}

bool InputForwarder::handleArrivedEvents() {
  while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_.get())}) {
    handleEvent(*event);
  }
  return xcb_connection_has_error(connection_.get()) == 0;
}

void InputForwarder::handleEvent(const xcb_generic_event_t& event) {
  constexpr std::uint8_t kSentByClient = 0x80;
  if (keyboard_->takeEvent(event) || (event.response_type & ~kSentByClient) != XCB_GE_GENERIC) {
    return;
  }
  const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
  if (generic.extension != inputExtension_) {
    return;
  }
  switch (generic.event_type) {
    case XCB_INPUT_RAW_BUTTON_PRESS:
    case XCB_INPUT_RAW_BUTTON_RELEASE: {
      const auto& button = reinterpret_cast<const xcb_input_raw_button_press_event_t&>(event);
      handleButton(button.detail, generic.event_type == XCB_INPUT_RAW_BUTTON_PRESS, button.sourceid);
      break;
    }
    case XCB_INPUT_RAW_KEY_PRESS: {
      const auto& key = reinterpret_cast<const xcb_input_raw_key_press_event_t&>(event);
      handleKey(key.detail, key.sourceid);
      break;
    }
    case XCB_INPUT_HIERARCHY:
      findTestDevices();
      break;
    default:
      break;
  }
}

void InputForwarder::handleButton(std::uint32_t physicalButton, bool pressed, std::uint16_t device) {
  // Raw events name the button as it is on the device; left-handed users have it mapped.
  const Reply<xcb_get_pointer_mapping_reply_t> mapping(
      xcb_get_pointer_mapping_reply(connection_.get(), xcb_get_pointer_mapping(connection_.get()), nullptr));
  std::uint32_t button = physicalButton;
  if (mapping && button >= 1 && button <= mapping->map_len) {
    button = xcb_get_pointer_mapping_map(mapping.get())[button - 1];
  }
  constexpr std::uint32_t kLeft = 1;
  constexpr std::uint32_t kRight = 3;
  if (button == kLeft) {
    forward(pressed ? Kind::leftPress : Kind::leftRelease, device, {});
  } else if (button == kRight) {
    forward(pressed ? Kind::rightPress : Kind::rightRelease, device, {});
  }
}

void InputForwarder::handleKey(std::uint32_t keycode, std::uint16_t device) {
  if (auto characters = keyboard_->characters(keycode)) {
    forward(Kind::keyPress, device, std::move(*characters));
  }
}

void InputForwarder::forward(Kind kind, std::uint16_t device, std::string characters) {
  const Reply<xcb_query_pointer_reply_t> pointer(
      xcb_query_pointer_reply(connection_.get(), xcb_query_pointer(connection_.get(), root_), nullptr));
  if (pointer) {
    const bool injected = testDevices_.contains(device);
    handle_({kind, double(pointer->root_x), double(pointer->root_y), injected, std::move(characters)});
  }
}
