#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "platform/TextRecognition.h"

namespace zqlogging {

/// Text recognition by the engine's module, which lies beside the library and is loaded when it is first needed. When
/// the module or its language data is missing every request fails, and `report` gets the reason, once.
class LinuxTextRecognition final : public port::TextRecognition {
 public:
  using Report = std::function<void(const std::string&)>;
  LinuxTextRecognition(std::string module, Report report) : module_(std::move(module)), report_(std::move(report)) {}

  void prepare() override;
  port::TextAnswer recognize(const port::Image& image, const port::TextRequest& request) override;

  /// The module's path beside the library that this code is in, wherever that was loaded from.
  static std::string defaultModule();

 private:
  std::string load();

  std::string module_;
  Report report_;
  std::unique_ptr<port::TextRecognition> engine_;
  std::string problem_;  ///< why there is no recognition, once that is known
};

}  // namespace zqlogging
