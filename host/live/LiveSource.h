// What viewers are sent, as JSON texts that docs/view.md describes. Threads: all functions are called by the
// server's thread only. Throws only std::bad_alloc.
#pragma once

#include <cstdint>
#include <string>

class LiveSource {
 public:
  static constexpr unsigned picturesPerSecond = 30;

  virtual ~LiveSource() = default;

  // The gloves and what they are: changes when they become known.
  virtual std::uint64_t layoutVersion() = 0;
  virtual std::string layout() = 0;
  // How everything goes, as of now.
  virtual std::string state() = 0;
  // The newest elements, and the peaks since the previous call; "" if no record has arrived since then.
  virtual std::string picture() = 0;
  // The regions over the last two minutes.
  virtual std::string history() = 0;
};
