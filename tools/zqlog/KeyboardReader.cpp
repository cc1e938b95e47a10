#include "KeyboardReader.h"

#include <xkbcommon/xkbcommon-x11.h>

#include <algorithm>
#include <stdexcept>

// The header names a field with a C++ keyword.
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit

void KeyboardReader::ContextRelease::operator()(xkb_context* context) const { xkb_context_unref(context); }
void KeyboardReader::KeymapRelease::operator()(xkb_keymap* keymap) const { xkb_keymap_unref(keymap); }
void KeyboardReader::StateRelease::operator()(xkb_state* state) const { xkb_state_unref(state); }

KeyboardReader::KeyboardReader(xcb_connection_t* connection) : connection_(connection) {
  const bool set =
      xkb_x11_setup_xkb_extension(connection, XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
                                  XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, &firstEvent_, nullptr) == 1;
  keyboard_ = set ? xkb_x11_get_core_keyboard_device_id(connection) : -1;
  context_.reset(xkb_context_new(XKB_CONTEXT_NO_FLAGS));
  if (keyboard_ < 0 || !context_) {
    throw std::runtime_error("the X server has no keyboard that can be read (XKB)");
  }
  constexpr std::uint16_t kEvents =
      XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY | XCB_XKB_EVENT_TYPE_STATE_NOTIFY;
  constexpr std::uint16_t kMapParts = XCB_XKB_MAP_PART_KEY_TYPES | XCB_XKB_MAP_PART_KEY_SYMS |
                                      XCB_XKB_MAP_PART_MODIFIER_MAP | XCB_XKB_MAP_PART_EXPLICIT_COMPONENTS |
                                      XCB_XKB_MAP_PART_KEY_ACTIONS | XCB_XKB_MAP_PART_VIRTUAL_MODS |
                                      XCB_XKB_MAP_PART_VIRTUAL_MOD_MAP;
  xcb_xkb_select_events(connection, static_cast<xcb_xkb_device_spec_t>(keyboard_), kEvents, 0, kEvents, kMapParts,
                        kMapParts, nullptr);
  reload();
}

void KeyboardReader::reload() {
  keymap_.reset(xkb_x11_keymap_new_from_device(context_.get(), connection_, keyboard_, XKB_KEYMAP_COMPILE_NO_FLAGS));
  state_.reset(keymap_ ? xkb_x11_state_new_from_device(keymap_.get(), connection_, keyboard_) : nullptr);
}

bool KeyboardReader::takeEvent(const xcb_generic_event_t& event) {
  constexpr std::uint8_t kSentByClient = 0x80;
  if ((event.response_type & ~kSentByClient) != firstEvent_) {
    return false;
  }
  const auto& state = reinterpret_cast<const xcb_xkb_state_notify_event_t&>(event);
  if (state.xkbType != XCB_XKB_STATE_NOTIFY) {
    reload();
  } else if (state_) {
    xkb_state_update_mask(state_.get(), state.baseMods, state.latchedMods, state.lockedMods,
                          static_cast<xkb_layout_index_t>(state.baseGroup),
                          static_cast<xkb_layout_index_t>(state.latchedGroup), state.lockedGroup);
  }
  return true;
}

std::optional<std::string> KeyboardReader::characters(std::uint32_t keycode) {
  if (!state_) {
    return "";
  }
  const xkb_keysym_t symbol = xkb_state_key_get_one_sym(state_.get(), keycode);
  const bool isModifier = (symbol >= XKB_KEY_Shift_L && symbol <= XKB_KEY_Hyper_R) ||
                          (symbol >= XKB_KEY_ISO_Lock && symbol <= XKB_KEY_ISO_Level5_Lock) ||
                          symbol == XKB_KEY_Mode_switch || symbol == XKB_KEY_Num_Lock;
  if (isModifier) {
    return std::nullopt;
  }
  constexpr std::size_t kMost = 64;
  std::string text(kMost, '\0');
  const int length = xkb_state_key_get_utf8(state_.get(), keycode, text.data(), text.size());
  text.resize(static_cast<std::size_t>(std::max(length, 0)));
  return text;
}
