// Deletes a folder with its content; an error if something is left of it.
#pragma once

#include <filesystem>
#include <system_error>

// What was there when a first attempt failed may be deleted by a second one: that a signal interrupts it, or
// that another program has a file of it open, passes.
inline std::error_code removeAll(const std::filesystem::path& folder)
{
  std::error_code error;
  std::filesystem::remove_all(folder, error);
  if (error) std::filesystem::remove_all(folder, error);
  return error;
}
