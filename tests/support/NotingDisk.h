// A disk that notes what it is made to store, and what was there then. It fails or waits where a test says
// so. Threads: any.
#pragma once

#include <algorithm>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "host/base/Disk.h"

class NotingDisk final : public Disk {
 public:
  struct Note {
    std::string name;                // the last part of the path
    std::uintmax_t size = 0;         // of a file
    std::vector<std::string> there;  // the names in its folder; of a folder those in it
  };

  std::unique_ptr<Handle> open(const std::filesystem::path& path) override
  {
    return std::make_unique<NotingHandle>(*this, path);
  }

  // Called for each with the lock held, before it is noted.
  std::function<std::error_code(const Note&)> onSync = [](const Note&) { return std::error_code(); };
  // From now on each sync waits; false: no longer.
  void hold(bool isHeld)
  {
    const std::lock_guard guard(mutex_);
    isHeld_ = isHeld;
    changed_.notify_all();
  }

  void waitForHeld()
  {
    std::unique_lock guard(mutex_);
    changed_.wait(guard, [this] { return waiting_ > 0; });
  }
  void waitFor(std::size_t count, const std::string& name)
  {
    std::unique_lock guard(mutex_);
    changed_.wait(guard, [&] { return countOf(name) >= count; });
  }
  std::vector<Note> notes() const
  {
    const std::lock_guard guard(mutex_);
    return notes_;
  }
  std::size_t count(const std::string& name) const
  {
    const std::lock_guard guard(mutex_);
    return countOf(name);
  }

 private:
  struct NotingHandle final : Handle {
    NotingHandle(NotingDisk& own, std::filesystem::path of) : disk(own), path(std::move(of)) {}
    std::error_code sync() override { return disk.note(path); }

    NotingDisk& disk;
    const std::filesystem::path path;
  };

  std::size_t countOf(const std::string& name) const
  {
    return static_cast<std::size_t>(std::ranges::count(notes_, name, &Note::name));
  }

  std::error_code note(const std::filesystem::path& path)
  {
    std::unique_lock guard(mutex_);
    ++waiting_;
    changed_.notify_all();
    changed_.wait(guard, [this] { return !isHeld_; });
    --waiting_;
    Note note{.name = path.filename().string(), .there = {}};
    const bool isFolder = std::filesystem::is_directory(path);
    if (!isFolder) note.size = std::filesystem::file_size(path);
    for (const auto& entry : std::filesystem::directory_iterator(isFolder ? path : path.parent_path())) {
      note.there.push_back(entry.path().filename().string());
    }
    const std::error_code error = onSync(note);
    notes_.push_back(std::move(note));
    changed_.notify_all();
    return error;
  }

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  bool isHeld_ = false;
  int waiting_ = 0;
  std::vector<Note> notes_;
};
