// Objects by handle: numbers that callers can keep, mix up and use after the end without harm. A handle has
// the index of a slot, a number of its table, so that handles of one kind of object are none of another, and
// the slot's generation, which changes with each object, so that an old handle never means a new object.
// Threads: any; an object that another thread still uses ends when that use ends. Throws only std::bad_alloc.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

namespace library {

// The numbers of the tables.
inline constexpr std::uint8_t glovesHandles = 1;
inline constexpr std::uint8_t recordingHandles = 2;

template <class Object>
class HandleTable {
 public:
  explicit HandleTable(std::uint8_t number) : number_(number) {}

  std::uint64_t add(std::shared_ptr<Object> object)
  {
    const std::scoped_lock lock(mutex_);
    std::size_t index = 0;
    while (index < slots_.size() && slots_[index].object) {
      ++index;
    }
    if (index > maxIndex) throw std::bad_alloc();
    if (index == slots_.size()) slots_.emplace_back();
    Slot& slot = slots_[index];
    ++slot.generation;
    slot.object = std::move(object);
    return handleOf(index, slot.generation);
  }

  // Null for a handle that is closed or never was one.
  std::shared_ptr<Object> find(std::uint64_t handle) const
  {
    const std::scoped_lock lock(mutex_);
    const auto index = indexOf(handle);
    return index < slots_.size() && handleOf(index, slots_[index].generation) == handle ? slots_[index].object
                                                                                        : nullptr;
  }

  // The handle is closed; the object is the caller's. Null as above.
  std::shared_ptr<Object> remove(std::uint64_t handle)
  {
    const std::scoped_lock lock(mutex_);
    const auto index = indexOf(handle);
    if (index >= slots_.size() || handleOf(index, slots_[index].generation) != handle) return nullptr;
    return std::exchange(slots_[index].object, nullptr);
  }

  // All open handles.
  std::vector<std::uint64_t> handles() const
  {
    const std::scoped_lock lock(mutex_);
    std::vector<std::uint64_t> open;
    for (std::size_t index = 0; index < slots_.size(); ++index) {
      if (slots_[index].object) open.push_back(handleOf(index, slots_[index].generation));
    }
    return open;
  }

 private:
  struct Slot {
    std::uint32_t generation = 0;  // of the latest object; from 1, so that 0 is no handle
    std::shared_ptr<Object> object;
  };

  static constexpr std::size_t maxIndex = 0xFF'FFFF;

  std::uint64_t handleOf(std::size_t index, std::uint32_t generation) const
  {
    return std::uint64_t{generation} << 32 | std::uint64_t{number_} << 24 | index;
  }
  static std::size_t indexOf(std::uint64_t handle) { return handle & maxIndex; }

  const std::uint8_t number_;
  mutable std::mutex mutex_;
  std::vector<Slot> slots_;
};

}  // namespace library
