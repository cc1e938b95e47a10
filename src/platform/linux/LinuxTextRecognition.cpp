#include "platform/linux/LinuxTextRecognition.h"

#include <dlfcn.h>

#include <filesystem>
#include <utility>

#include "platform/linux/ocr/OcrModule.h"

namespace zqlogging {

std::string LinuxTextRecognition::defaultModule() {
  static const char here = 0;
  Dl_info library = {};
  if (dladdr(&here, &library) == 0 || library.dli_fname == nullptr) return ocr::kModulePath;
  return (std::filesystem::absolute(library.dli_fname).parent_path() / ocr::kModulePath).string();
}

void LinuxTextRecognition::prepare() {
  load();
  if (engine_) engine_->prepare();
}

port::TextAnswer LinuxTextRecognition::recognize(const port::Image& image, const port::TextRequest& request) {
  load();
  if (!engine_) return failed(problem_);
  port::TextAnswer answer = engine_->recognize(image, request);
  const auto* failure = std::get_if<port::TextRequestFailed>(&answer);
  return failure ? failed(failure->description) : answer;
}

port::TextRequestFailed LinuxTextRecognition::failed(const std::string& problem) {
  if (problem == told_) return {"text recognition is disabled, for the reason told before"};
  told_ = problem;
  return {problem};
}

void LinuxTextRecognition::load() {
  if (engine_ || !problem_.empty()) return;
  // The module stays: what it brings (OpenMP among it) does not expect to be unloaded.
  void* module = dlopen(module_.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  void* entry = module ? dlsym(module, ocr::kModuleEntry) : nullptr;
  if (!entry) {
    const char* reason = dlerror();
    problem_ = std::string("the text recognition module cannot be loaded: ") + (reason ? reason : module_.c_str());
    return;
  }
  engine_.reset(reinterpret_cast<ocr::CreateTextRecognition*>(entry)(ocr::kModuleVersion));
  if (!engine_) problem_ = "the text recognition module " + module_ + " is of another version";
}

}  // namespace zqlogging
