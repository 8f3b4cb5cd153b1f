// Markers: moments of a recording that a person marks, on their way from the threads that receive them to the
// one that writes them. Threads: `MarkerQueue` any, `MarkerLines` one. Texts are untrusted: what is taken is
// one line of printable UTF-8 of at most `maxMarkerBytes`. Memory is bounded. Throws only std::bad_alloc.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

inline constexpr std::size_t maxMarkerBytes = 1000;

struct Marker {
  std::chrono::nanoseconds time;  // of host::uptime(), when it arrived
  std::string text;
};

class MarkerQueue {
 public:
  // An empty text becomes "marker N", where N counts all markers.
  void add(std::chrono::nanoseconds time, std::string_view text);
  // The oldest ones, at most so many; those that remain are next.
  std::vector<Marker> take(std::size_t max);
  // Markers in all that arrived while too many were waiting.
  std::uint64_t dropped() const;

 private:
  mutable std::mutex mutex_;
  std::deque<Marker> waiting_;
  std::uint64_t count_ = 0;
  std::uint64_t dropped_ = 0;
};

// Divides received bytes into lines, each of them a marker.
class MarkerLines {
 public:
  explicit MarkerLines(MarkerQueue& markers) : markers_(markers) {}

  void add(std::chrono::nanoseconds time, std::string_view bytes);
  // At the end of the input: the rest without a newline, if there is one, is the last marker.
  void finish(std::chrono::nanoseconds time);

 private:
  void append(std::string_view piece);

  MarkerQueue& markers_;
  std::string line_;  // the beginning of the unfinished line
};
