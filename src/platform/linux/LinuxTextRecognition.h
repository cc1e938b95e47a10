#pragma once

#include <memory>
#include <string>
#include <utility>

#include "platform/TextRecognition.h"

namespace zqlogging {

/// Text recognition by the engine's module, which lies beside the library and is loaded when it is first needed. When
/// the module or its language data is missing every request fails; the reason is told once.
class LinuxTextRecognition final : public port::TextRecognition {
 public:
  LinuxTextRecognition() : LinuxTextRecognition(defaultModule()) {}
  explicit LinuxTextRecognition(std::string module) : module_(std::move(module)) {}

  void prepare() override;
  port::TextAnswer recognize(const port::Image& image, const port::TextRequest& request) override;

  /// The module's path beside the library that this code is in, wherever that was loaded from.
  static std::string defaultModule();

 private:
  void load();
  port::TextRequestFailed failed(const std::string& problem);

  std::string module_;
  std::unique_ptr<port::TextRecognition> engine_;
  std::string problem_;  ///< why there is no module, once that is known
  std::string told_;     ///< the failure told last
};

}  // namespace zqlogging
