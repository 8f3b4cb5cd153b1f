// An unbuffered output file, or standard output. Each piece is handed to the operating system at once, so a
// killed program loses none of it.
// Errors: a Failure with the operating system's reason. A piece that was written only in part is removed
// again, so the file always ends with a complete piece.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>

#include "host/base/Disk.h"
#include "host/base/System.h"
#include "host/base/UnbufferedFile.h"

class OutputFile {
 public:
  enum class Existing { replaced, appended };

  // Appends to standard output in any case.
  explicit OutputFile(std::filesystem::path path, Existing existing = Existing::replaced);

  void append(std::string_view piece);
  // Waits until the disk has it. For regular files only.
  void store();
  // Overwrites the first bytes. For regular files only.
  void replaceBeginning(std::string_view bytes);
  void close();

  const std::filesystem::path& path() const { return path_; }

 private:
  [[noreturn]] void fail() const;

  std::filesystem::path path_;
  host::UnbufferedFile file_;
  std::uint64_t size_ = 0;
  std::optional<host::FileBeginning> beginning_;
};

// Writes a file that replaces an existing one only when it is complete and on the disk. Until then its name
// is followed by ".new".
void replaceFile(const std::filesystem::path& path, std::string_view content, Disk& disk = Disk::ofSystem());
