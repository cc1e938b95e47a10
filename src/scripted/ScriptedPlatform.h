#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "platform/Platform.h"
#include "scripted/PrivateFolder.h"
#include "scripted/ScriptedAccessibility.h"
#include "scripted/ScriptedDefaults.h"
#include "scripted/ScriptedDesktop.h"
#include "scripted/ScriptedLogs.h"
#include "scripted/ScriptedRecognition.h"
#include "scripted/ScriptedWorkspace.h"
#include "scripted/VirtualTime.h"

namespace zqlogging::port {

/// A whole desktop in memory under a virtual clock. Its parts are there to be built and changed at will; only the
/// session log file is a real one, in a private folder made when it is first needed and removed at the end.
class ScriptedPlatform final : public Platform {
 public:
  ScriptedPlatform() : desktop_(*this), accessibility_(desktop_, time_), workspace_(desktop_, time_) {}

  ScriptedDesktop& desktop() { return desktop_; }
  VirtualTime& time() { return time_; }
  ScriptedAccessibility& scriptedAccessibility() { return accessibility_; }
  ScriptedWorkspace& scriptedWorkspace() { return workspace_; }
  ScriptedDefaults& scriptedDefaults() { return defaults_; }
  ScriptedLogs& scriptedLogs() { return logs_; }
  ScriptedRecognition& recognition() { return recognition_; }
  PrivateFolder& folder();
  /// What slog.json holds when the folder is made; at first no such file is in it.
  void setInitialLogFile(std::string content) { initialLogFile_ = std::move(content); }
  /// The care for the session, which the caller keeps; none at first.
  void setSession(Session* session) { session_ = session; }
  void setHostIdentifier(std::optional<std::string> identifier) { hostIdentifier_ = std::move(identifier); }

  Accessibility& accessibility() override { return accessibility_; }
  Workspace& workspace() override { return workspace_; }
  MainLoop& mainLoop() override { return time_; }
  Defaults& defaults() override { return defaults_; }
  Clock& clock() override { return time_; }
  LogSinks& logs() override { return logs_; }
  std::unique_ptr<TextRecognition> createTextRecognition() override { return recognition_.createRecognizer(); }
  std::string cachesFolder() override { return folder().path(); }
  std::optional<std::string> hostIdentifier() override { return hostIdentifier_; }
  [[nodiscard]] bool worksInline() const override { return worksInline_; }
  void setWorksInline(bool value) { worksInline_ = value; }
  Session* session() override { return session_; }

 private:
  VirtualTime time_;
  ScriptedDesktop desktop_;
  ScriptedAccessibility accessibility_;
  ScriptedWorkspace workspace_;
  ScriptedDefaults defaults_;
  ScriptedLogs logs_;
  ScriptedRecognition recognition_;
  Session* session_ = nullptr;
  std::optional<std::string> hostIdentifier_;
  std::optional<std::string> initialLogFile_;
  bool worksInline_ = true;
  std::mutex folderMutex_;
  std::optional<PrivateFolder> folder_;
};

}  // namespace zqlogging::port
