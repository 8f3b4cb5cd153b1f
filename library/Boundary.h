// What every function of the C interface does: nothing is thrown through it, nothing is done in a forked
// child, and the caller's memory is checked before it is written.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <string_view>

#include "library/Errors.h"
#include "library/Process.h"

namespace library {

// Runs the body of a function of the interface, which returns its status or throws.
template <class Body>
tessel_status guarded(const Body& body) noexcept
{
  try {
    if (process::isForked()) {
      throw Error(
          TESSEL_ERROR_FORKED, "this process is a child of the one that loaded the library.",
          "Use the library in one process only; with Python's multiprocessing, use the method spawn.");
    }
    return body();
  } catch (...) {
    return noteError();
  }
}

// Hands a text to the caller's memory, as tessel.h describes it. Throws an Error if it does not fit.
tessel_status copyText(std::string_view source, char* text, std::size_t size, std::size_t* needed);
// Throws an Error for memory of the caller that can't be. For functions that do something before they return
// a text; copyText() checks it, too.
void checkText(const char* text, std::size_t size);

// A path that the caller wrote in UTF-8. Throws an Error if it is null or can't be converted.
std::filesystem::path pathArgument(const char* path, const char* name);

// Throws an Error for the member `size` of a structure that no version has.
void checkSize(std::size_t size, std::size_t sizeOfFirstVersion);

// Copies the values into the caller's structure, which may have more members, of a later version, or fewer,
// of an earlier one. Throws an Error for a size that no version has.
template <class Structure>
void fill(Structure* target, const Structure& values, std::size_t sizeOfFirstVersion)
{
  if (target == nullptr) throw nullArgument("the pointer to the structure");
  const std::size_t size = target->size;
  checkSize(size, sizeOfFirstVersion);
  const std::size_t known = std::min(size, sizeof(Structure));
  // Behind `size`, which stays as the caller set it.
  std::memcpy(reinterpret_cast<char*>(target) + sizeof(std::size_t),
              reinterpret_cast<const char*>(&values) + sizeof(std::size_t), known - sizeof(std::size_t));
}

}  // namespace library
