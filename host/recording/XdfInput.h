// Reads the chunks of an untrusted XDF file of any size in bounded memory. After damage it goes on behind the
// next boundary chunk.
// Threads: one. Errors: a Failure with ExitCode::recording if the file can't be opened or read.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "host/recording/XdfChunk.h"

class XdfInput {
 public:
  struct Chunk {
    xdf::Tag tag;
    std::string_view content;  // valid until the next call
  };

  // It must begin as XDF files do.
  explicit XdfInput(const std::filesystem::path& path);

  // Nothing at the end, and where no chunk can be read.
  std::optional<Chunk> next();
  // After next() returned nothing: false if there is something that is not a chunk.
  bool isAtEnd() const { return isAtEnd_; }
  // Reads the latest chunk again.
  void back();
  // Goes behind the first boundary chunk within or after the latest chunk, if there is one.
  bool skipToBoundary();

  // Where the latest chunk begins, and where the next one does.
  std::uint64_t begin() const { return begin_; }
  std::uint64_t position() const { return position_; }
  // When it was opened.
  std::uint64_t size() const { return size_; }
  const std::filesystem::path& path() const { return path_; }

 private:
  // How many bytes there were; fewer than wanted only at the end.
  std::size_t read(std::span<char> bytes);
  void seek(std::uint64_t position);

  const std::filesystem::path path_;
  std::ifstream file_;
  std::uint64_t size_ = 0;
  std::uint64_t begin_ = 0;
  std::uint64_t position_ = 0;
  bool isAtEnd_ = false;
  std::string content_;
};
