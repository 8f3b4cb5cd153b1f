// A file that is being written, without a buffer of its own: what was written is handed to the operating
// system. Calls that a signal interrupts, and those that take only a part, are repeated. Threads: one.
// Errors: false, with the reason in errno.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string_view>

namespace host {

class UnbufferedFile {
 public:
  enum class Content { replaced, appended };

  UnbufferedFile();
  ~UnbufferedFile();
  UnbufferedFile(const UnbufferedFile&) = delete;
  UnbufferedFile& operator=(const UnbufferedFile&) = delete;

  [[nodiscard]] bool open(const std::filesystem::path& path, Content content);
  // Standard output, behind what was written there so far. Never closed.
  void useStandardOutput();
  // All of it. Waits while a pipe is full.
  [[nodiscard]] bool write(std::string_view bytes);
  // Removes what lies beyond this size from a regular file; the next bytes come there.
  void cut(std::uint64_t size);
  [[nodiscard]] bool close();

 private:
  struct Stream;
  std::unique_ptr<Stream> stream_;
};

}  // namespace host
