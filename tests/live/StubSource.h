// A recording whose texts the test sets, from any thread. Pictures are numbered and come with each call.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>

#include "host/live/LiveSource.h"

class StubSource final : public LiveSource {
 public:
  std::uint64_t layoutVersion() override { return version; }
  std::string layout() override { return R"({"layout":)" + std::to_string(version) + '}'; }
  std::string state() override
  {
    const std::lock_guard guard(mutex_);
    return R"({"ms":)" + std::to_string(++states) + R"(,"state":)" + content_ + '}';
  }
  std::string picture() override
  {
    if (!hasPictures) return {};
    return R"({"picture":)" + std::to_string(++pictures) + std::string(pictureBytes, ' ') + '}';
  }
  std::string history() override { return R"({"history":)" + std::to_string(++histories) + '}'; }

  void set(const std::string& content)
  {
    const std::lock_guard guard(mutex_);
    content_ = content;
  }

  std::atomic<std::uint64_t> version = 1;
  std::atomic<bool> hasPictures = true;
  std::atomic<std::size_t> pictureBytes = 0;

  // What was made.
  std::atomic<unsigned> states = 0;
  std::atomic<unsigned> pictures = 0;
  std::atomic<unsigned> histories = 0;

 private:
  std::mutex mutex_;
  std::string content_ = "0";
};
