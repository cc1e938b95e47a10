#include "linux/LinuxTextRecognition.h"

#include <dlfcn.h>

#include <exception>
#include <filesystem>
#include <utility>

#include "ocr/OcrModule.h"

namespace zqlogging {

std::string LinuxTextRecognition::defaultModule() {
  static const char here = 0;
  Dl_info library = {};
  if (dladdr(&here, &library) == 0 || library.dli_fname == nullptr) {
    return ocr::kModulePath;
  }
  return (std::filesystem::absolute(library.dli_fname).parent_path() / ocr::kModulePath).string();
}

void LinuxTextRecognition::prepare() {
  if (engine_ || !problem_.empty()) {
    return;
  }
  problem_ = load();
  if (problem_.empty()) {
    return;
  }
  engine_.reset();
  report_("text is not recognized: " + problem_);
}

port::TextAnswer LinuxTextRecognition::recognize(const port::Image& image, const port::TextRequest& request) {
  prepare();
  if (!engine_) {
    return port::TextRequestFailed{problem_};
  }
  return engine_->recognize(image, request);
}

std::string LinuxTextRecognition::load() {
  // The module stays: what it brings (OpenMP among it) does not expect to be unloaded.
  void* module = dlopen(module_.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  void* entry = module ? dlsym(module, ocr::kModuleEntry) : nullptr;
  if (!entry) {
    const char* reason = dlerror();
    return std::string("the text recognition module cannot be loaded: ") + (reason ? reason : module_.c_str());
  }
  try {
    engine_.reset(reinterpret_cast<ocr::CreateTextRecognition*>(entry)(ocr::kModuleVersion));
  } catch (const std::exception& error) {
    return error.what();
  }
  return engine_ ? "" : "the text recognition module " + module_ + " is of another version";
}

}  // namespace zqlogging
