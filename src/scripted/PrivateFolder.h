#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace zqlogging::port {

/// A caches folder of its own in the file system's temporary place, with the session log file in it; gone with
/// the object. Main thread alone. Throws std::filesystem::filesystem_error where the file system refuses.
class PrivateFolder {
 public:
  enum class Block {
    directory,  ///< a directory stands where the file should be
    noParent,   ///< the caches folder is gone, and making it again fails
  };

  PrivateFolder();
  ~PrivateFolder();
  PrivateFolder(const PrivateFolder&) = delete;
  PrivateFolder& operator=(const PrivateFolder&) = delete;

  /// The caches folder.
  [[nodiscard]] std::string path() const { return (home_ / "caches").string(); }

  /// What slog.json holds; nothing when no readable file is there.
  [[nodiscard]] std::optional<std::string> readFile() const;
  /// Replaces the content of slog.json, ending any block.
  void writeFile(std::string_view content) const;

  /// Makes slog.json unusable. What stands there is set aside; an earlier block ends first.
  void block(Block how) const;
  /// Makes it usable again, with what was set aside unless something newer stands there.
  void unblock() const;

 private:
  [[nodiscard]] std::filesystem::path file() const { return home_ / "caches" / "slog.json"; }

  std::filesystem::path root_;
  std::filesystem::path home_;  // the caches folder lies in here, so that both go away together
  std::filesystem::path fileAside_;
  std::filesystem::path homeAside_;
};

}  // namespace zqlogging::port
