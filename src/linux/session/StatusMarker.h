#pragma once

#include <optional>
#include <string>

namespace zqlogging {

/// The file that says that programs are told that somebody listens for our sake alone. Each process that needs it holds
/// the file locked, so that a file that nobody has locked was left by one that has crashed.
class StatusMarker {
 public:
  /// Creates the file, or joins those that hold it. Nothing when there can be no such file.
  static std::optional<StatusMarker> hold(const std::string& folder);
  /// Joins those that hold the file, or takes over what a crash has left; nothing when there is no file.
  static std::optional<StatusMarker> join(const std::string& folder);
  /// The file that a crash has left, held by the caller alone from now on; nothing when there is none.
  static std::optional<StatusMarker> abandoned(const std::string& folder);
  /// Nobody is to put anything back any more.
  static void remove(const std::string& folder);

  StatusMarker(StatusMarker&& other) noexcept;
  StatusMarker(const StatusMarker&) = delete;
  StatusMarker& operator=(const StatusMarker&) = delete;
  StatusMarker& operator=(StatusMarker&&) = delete;
  ~StatusMarker();

  /// Whether no other process holds the file; no other can come to hold it then while this one does.
  [[nodiscard]] bool becomeOnlyHolder() const;
  /// The caller is the only holder and has put back what was before.
  void remove() const;

 private:
  StatusMarker(std::string path, int descriptor) : path_(std::move(path)), descriptor_(descriptor) {}
  static std::optional<StatusMarker> open(const std::string& folder, int flags, int lock);

  std::string path_;
  int descriptor_;
};

}  // namespace zqlogging
