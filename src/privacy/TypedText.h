#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "text/Text.h"

namespace zqlogging {

/// The characters of a key press until it is decided whether they may be recorded. Never copied, and zeroed at the end.
class TypedText {
 public:
  TypedText() = default;
  /// Ill-formed UTF-8 is replaced.
  explicit TypedText(std::string_view text) {
    if (isValidUtf8(text)) {
      keep(text);
      return;
    }
    std::string valid = validUtf8(std::string(text));
    keep(valid);
    zero(valid);
  }
  TypedText(TypedText&&) = default;
  TypedText& operator=(TypedText&&) = default;

  [[nodiscard]] bool isEmpty() const { return text_ == nullptr; }
  [[nodiscard]] std::string_view view() const { return isEmpty() ? std::string_view() : *text_; }
  void wipe() { text_.reset(); }

 private:
  /// Writes that no compiler may leave out.
  static void zero(std::string& text) {
    volatile char* bytes = text.data();
    for (std::size_t i = 0; i < text.size(); ++i) {
      bytes[i] = '\0';
    }
  }
  struct Wipe {
    void operator()(std::string* text) const {
      zero(*text);
      delete text;
    }
  };
  void keep(std::string_view text) {
    if (!text.empty()) {
      text_.reset(new std::string(text));
    }
  }

  std::unique_ptr<std::string, Wipe> text_;
};

}  // namespace zqlogging
