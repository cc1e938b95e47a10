#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

struct xkb_context;
struct xkb_keymap;
struct xkb_state;

/// Turns key codes of the X server's keyboard into the characters that they type, following its layout and modifiers.
class KeyboardReader {
 public:
  /// Throws std::runtime_error when the server has no XKB extension.
  explicit KeyboardReader(xcb_connection_t* connection);

  /// To be given every event of the connection, in order; true when it was one of the keyboard's own.
  bool takeEvent(const xcb_generic_event_t& event);
  /// What the key types now, empty for keys like Up; nothing for keys that only modify others, like Shift.
  std::optional<std::string> characters(std::uint32_t keycode);

 private:
  struct ContextRelease {
    void operator()(xkb_context* context) const;
  };
  struct KeymapRelease {
    void operator()(xkb_keymap* keymap) const;
  };
  struct StateRelease {
    void operator()(xkb_state* state) const;
  };

  void reload();

  xcb_connection_t* const connection_;
  std::uint8_t firstEvent_ = 0;
  std::int32_t keyboard_ = -1;
  std::unique_ptr<xkb_context, ContextRelease> context_;
  std::unique_ptr<xkb_keymap, KeymapRelease> keymap_;
  std::unique_ptr<xkb_state, StateRelease> state_;
};
