#include "scripted/ScriptedPlatform.h"

namespace zqlogging::port {

PrivateFolder& ScriptedPlatform::folder() {
  const std::lock_guard lock(folderMutex_);
  if (!folder_) {
    folder_.emplace();
    if (initialLogFile_) {
      folder_->writeFile(*initialLogFile_);
    }
  }
  return *folder_;
}

}  // namespace zqlogging::port
