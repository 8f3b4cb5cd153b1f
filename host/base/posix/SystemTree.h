// Reads of the system's files below a root folder: "/", or a test's.
// Nothing read is trusted: sizes and counts are bounded, and what is missing, unreadable or of the wrong kind
// is empty. Never waits for a pipe or a device. Errors: throws only std::bad_alloc.
#pragma once

#include <charconv>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class SystemTree {
 public:
  explicit SystemTree(std::filesystem::path root) : root_(std::move(root)) {}

  bool isReal() const { return root_ == "/"; }
  // Where a path of the system is.
  std::filesystem::path place(const std::filesystem::path& path) const
  {
    return root_ / path.relative_path();
  }

  bool exists(const std::filesystem::path& path) const;
  // At most the first MiB.
  std::string text(const std::filesystem::path& file) const;
  std::vector<std::string> lines(const std::filesystem::path& file) const;
  // The first line, without white space around it, or its first 200 bytes.
  std::string line(const std::filesystem::path& file) const;
  // The names in a folder, sorted.
  std::vector<std::string> names(const std::filesystem::path& folder) const;
  // Where a symbolic link points to, as written in it.
  std::filesystem::path target(const std::filesystem::path& link) const;
  // With all symbolic links resolved, as a path of the system; the path itself if there is no such file.
  std::filesystem::path resolved(const std::filesystem::path& path) const;

 private:
  std::filesystem::path root_;
};

// The number that a text begins with.
template <class Number>
std::optional<Number> leadingNumber(std::string_view text)
{
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() ? std::optional(number) : std::nullopt;
}
