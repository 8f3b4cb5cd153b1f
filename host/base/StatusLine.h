// The line on standard error that shows what goes on: on a terminal it is redrawn, otherwise printed again
// every few seconds. Never waits: what a paused terminal or a full pipe does not take is left out.
// Threads: one at a time.
#pragma once

#include <chrono>
#include <string>

class StatusLine {
 public:
  // `interval`: between two lines if it is no terminal.
  explicit StatusLine(std::chrono::seconds interval = std::chrono::seconds(2));
  ~StatusLine() { end(); }
  StatusLine(const StatusLine&) = delete;
  StatusLine& operator=(const StatusLine&) = delete;

  // Whether text would be shown now.
  bool isDue() const;
  // Columns that a text may take.
  unsigned width() const;
  void show(std::string text);
  // A line of its own, which stays. `rings`: a terminal's bell, too.
  void say(const std::string& line, bool rings = false);
  // What follows is printed below it.
  void end();

 private:
  void clear();

  const std::chrono::seconds interval_;
  const bool isTerminal_;
  bool hasLine_ = false;
  std::chrono::nanoseconds next_;  // of host::uptime()
};
