#include "scripted/PrivateFolder.h"

#include <stdlib.h>

#include <cerrno>
#include <fstream>
#include <iterator>
#include <system_error>

namespace zqlogging::port {

namespace fs = std::filesystem;

namespace {

/// Moves a file back to its place, or deletes it when a newer one stands there.
void moveBack(const fs::path& aside, const fs::path& file) {
  if (!fs::exists(aside)) {
    return;
  }
  if (fs::exists(file)) {
    fs::remove(aside);
  } else {
    fs::rename(aside, file);
  }
}

}  // namespace

PrivateFolder::PrivateFolder() {
  std::string name = (fs::temp_directory_path() / "zqlogging-XXXXXX").string();
  if (!mkdtemp(name.data())) {
    throw fs::filesystem_error("no temporary folder", name, std::error_code(errno, std::generic_category()));
  }
  root_ = name;
  home_ = root_ / "home";
  fileAside_ = root_ / "file-aside";
  homeAside_ = root_ / "home-aside";
  fs::create_directories(path());
}

PrivateFolder::~PrivateFolder() {
  std::error_code ignored;
  fs::remove_all(root_, ignored);
}

std::optional<std::string> PrivateFolder::readFile() const {
  std::error_code ignored;
  if (!fs::is_regular_file(fs::symlink_status(file(), ignored))) {
    return std::nullopt;
  }
  std::ifstream in(file(), std::ios::binary);
  if (!in) {
    return std::nullopt;
  }
  return std::string(std::istreambuf_iterator<char>(in), {});
}

void PrivateFolder::writeFile(std::string_view content) const {
  unblock();
  std::ofstream out;
  out.exceptions(std::ios::failbit | std::ios::badbit);
  out.open(file(), std::ios::binary | std::ios::trunc);
  out.write(content.data(), static_cast<std::streamsize>(content.size()));
  fs::permissions(file(), fs::perms::owner_read | fs::perms::owner_write);
}

void PrivateFolder::block(Block how) const {
  unblock();
  if (how == Block::noParent) {
    fs::rename(home_, homeAside_);
    return;
  }
  if (fs::exists(file())) {
    fs::rename(file(), fileAside_);
  }
  fs::create_directory(file());
}

void PrivateFolder::unblock() const {
  if (fs::is_directory(file())) {
    fs::remove_all(file());
  }
  if (fs::exists(homeAside_) && !fs::exists(home_)) {
    fs::rename(homeAside_, home_);
  }
  fs::create_directories(path());
  moveBack(homeAside_ / "caches" / "slog.json", file());
  fs::remove_all(homeAside_);
  moveBack(fileAside_, file());
}

}  // namespace zqlogging::port
