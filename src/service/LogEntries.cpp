#include "service/LogEntries.h"

#include <algorithm>
#include <cerrno>
#include <functional>

#include "service/OwnFile.h"

namespace zqlogging {
namespace {

constexpr std::size_t kBlock = std::size_t{256} << 10U;
/// No entry is held that is longer; it is hashed by pieces of this length.
constexpr std::size_t kMaxEntry = std::size_t{16} << 20U;
/// Kept of an entry that is too long.
constexpr std::size_t kBeginning = 64;

std::uint64_t hashOfPiece(std::uint64_t before, std::string_view piece) {
  constexpr std::uint64_t kOdd = 0x9e3779b97f4a7c15U;
  return (before ^ std::hash<std::string_view>{}(piece)) * kOdd;
}

}  // namespace

std::uint64_t hashOfEntry(std::string_view entry) {
  std::uint64_t hash = 0;
  while (entry.size() > kMaxEntry) {
    hash = hashOfPiece(hash, entry.substr(0, kMaxEntry));
    entry.remove_prefix(kMaxEntry);
  }
  return hashOfPiece(hash, entry);
}

std::size_t lengthOfTornCharacter(std::string_view text) {
  std::size_t continuations = 0;
  for (auto byte = text.rbegin(); byte != text.rend() && continuations < 4; ++byte, ++continuations) {
    const auto value = static_cast<unsigned char>(*byte);
    if ((value & 0xC0U) == 0x80) {
      continue;
    }
    std::size_t needed = 0;
    if ((value & 0xE0U) == 0xC0) {
      needed = 1;
    } else if ((value & 0xF0U) == 0xE0) {
      needed = 2;
    } else if ((value & 0xF8U) == 0xF0) {
      needed = 3;
    }
    return continuations < needed ? continuations + 1 : 0;
  }
  return 0;
}

std::string_view withoutZeroBytes(std::string_view entry) {
  const std::size_t first = std::min(entry.find_first_not_of('\0'), entry.size());
  entry.remove_prefix(first);
  return entry.substr(0, entry.find_last_not_of('\0') + 1);
}

bool LogEntries::readMore() {
  buffer_.erase(0, start_);
  position_ += start_;
  searched_ -= start_;
  start_ = 0;
  const std::uint64_t from = position_ + buffer_.size();
  const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(kBlock, fileEnd_ - from));
  if (wanted == 0) {
    return false;
  }
  const std::size_t before = buffer_.size();
  buffer_.resize(before + wanted);
  const ssize_t got = readFully(fd_, buffer_.data() + before, wanted, from);
  if (got != static_cast<ssize_t>(wanted)) {
    error_ = reason(got < 0 ? errno : EIO);
    buffer_.resize(before);
    return false;
  }
  return true;
}

LogEntries::Entry LogEntries::take(std::size_t length, std::size_t separator) {
  Entry entry;
  const std::string_view text(buffer_.data() + start_, length);
  entry.isTooLong = letGo_ > 0;
  entry.text = entry.isTooLong ? std::string_view(tooLong_) : text;
  entry.hash = hashOfPiece(hashSoFar_, text);
  entry.begin = position_ + start_ - letGo_;
  start_ += length + separator;
  entry.end = position_ + start_;
  searched_ = start_;
  letGo_ = 0;
  hashSoFar_ = 0;
  any_ = true;
  return entry;
}

void LogEntries::letGoOfAPiece() {
  const std::string_view piece(buffer_.data() + start_, kMaxEntry);
  if (letGo_ == 0) {
    tooLong_ = piece.substr(0, kBeginning);
  }
  hashSoFar_ = hashOfPiece(hashSoFar_, piece);
  letGo_ += kMaxEntry;
  start_ += kMaxEntry;
  searched_ = start_;
}

std::optional<LogEntries::Entry> LogEntries::next() {
  while (true) {
    const std::size_t found = buffer_.find(kEntrySeparator, searched_);
    const bool isWhole = found != std::string::npos;
    // Its last byte may belong to a separator.
    const std::size_t known = isWhole ? found - start_ : buffer_.size() - std::min(start_ + 1, buffer_.size());
    if (known > kMaxEntry) {
      letGoOfAPiece();
      continue;
    }
    if (isWhole) {
      return take(known, kEntrySeparator.size());
    }
    searched_ = std::max(start_, buffer_.size() - std::min<std::size_t>(1, buffer_.size()));
    if (readMore()) {
      continue;
    }
    std::string_view rest(buffer_.data() + start_, buffer_.size() - start_);
    if (error_ || (rest.empty() && letGo_ == 0 && any_)) {
      return std::nullopt;
    }
    const std::size_t length = rest.size();
    rest.remove_suffix(rest.ends_with(kEntrySeparator.front()) ? 1 : lengthOfTornCharacter(rest));
    return take(rest.size(), length - rest.size());
  }
}

}  // namespace zqlogging
