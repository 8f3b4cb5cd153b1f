// A file, or standard output, that grows while something is recorded, so that what was written is with the
// system at once: nothing waits in the program's memory, and a program that is killed loses nothing of it.
// Errors: a Failure that says what the system refuses. What could be written of a refused piece is taken
// back, so the file always ends behind a whole piece.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string_view>

class OutputFile {
 public:
  // Replaces what is there; standard output is added to.
  explicit OutputFile(std::filesystem::path path);

  void append(std::string_view piece);
  // Puts bytes in place of the file's first ones; only of a regular file with a name.
  void replaceBeginning(std::string_view bytes);
  void close();

  const std::filesystem::path& path() const { return path_; }

 private:
  [[noreturn]] void fail() const;

  std::filesystem::path path_;
  std::ofstream file_;
  std::ostream stream_;  // into the file, or standard output
  std::uint64_t size_ = 0;
};
