// Markers: moments of a recording that a person marks, on their way from the threads that receive them to the
// one that writes them. Threads: `MarkerQueue` any, `MarkerLines` one. Texts are untrusted: what is taken is
// one line of printable UTF-8 of at most `maxMarkerBytes`. Memory is bounded. Throws only std::bad_alloc.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

inline constexpr std::size_t maxMarkerBytes = 1000;

struct Marker {
  std::chrono::nanoseconds time;  // of host::uptime(), when it arrived
  std::string text;
};

class MarkerQueue {
 public:
  // An empty text becomes "marker N", where N counts all markers. Returns what the marker is called; empty if
  // it was dropped because too many are waiting.
  std::string add(std::chrono::nanoseconds time, std::string_view text);
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

// Receives a line without its newline, and when it arrived.
using LineTaker = std::function<void(std::chrono::nanoseconds time, const std::string& line)>;

// Adds each line to the queue, which must outlive it.
LineTaker markersInto(MarkerQueue& queue);

// Divides received bytes into lines, which may be markers: what is longer than one is cut. What there is no
// memory for is lost, since a recording must not end for it.
class MarkerLines {
 public:
  explicit MarkerLines(LineTaker take) : take_(std::move(take)) {}

  void add(std::chrono::nanoseconds time, std::string_view bytes) noexcept;
  // At the end of the input: the rest without a newline, if there is one, is the last marker.
  void finish(std::chrono::nanoseconds time) noexcept;

 private:
  void append(std::string_view piece);

  LineTaker take_;
  std::string line_;  // the beginning of the unfinished line
};
