// What this process holds of the system: implemented for each one.
#pragma once

#include <cstddef>
#include <string>

// File descriptors; or handles and indexes of thread-local storage.
std::size_t openHandles();
// By which that may be too high or too low.
extern const std::size_t openHandlesTolerance;
// Allocated bytes.
std::size_t heapBytes();
// Whether a shared object of this file name is loaded.
bool isLoaded(const std::string& fileName);
