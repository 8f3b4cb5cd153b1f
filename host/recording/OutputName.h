// The names of an output: the one asked for, and the one it bears while it grows.
#pragma once

#include <filesystem>

class OutputName {
 public:
  // A Failure if something is there that would be lost and `replaces` does not hold, or that can't be
  // replaced: a folder where a file is wanted, a file where a folder is.
  OutputName(std::filesystem::path wanted, bool isFolder, bool replaces);

  // With ".part", unless the output is a device or a pipe, which is written to as it is.
  const std::filesystem::path& growing() const { return growing_; }
  const std::filesystem::path& wanted() const { return wanted_; }
  // Gives what grew the name wanted; a Failure if the system refuses.
  void settle() const;
  // Takes away what grew; never a device.
  void discard() const;

 private:
  std::filesystem::path wanted_;
  std::filesystem::path growing_;
};
