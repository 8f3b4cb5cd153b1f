// What must not be missed, as sentences. Throws only std::bad_alloc.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/live/DiskWatch.h"
#include "host/live/Situation.h"

struct Warning {
  std::string id;  // the same as long as it lasts: "silent-left"
  bool isAlarm = false;
  std::string text;
};

// Alarms first. `disk`: empty if nothing is written, or while nothing is known.
std::vector<Warning> warningsOf(const Situation& situation, const std::optional<DiskFigures>& disk,
                                Situation::Time now);

// Of books that need not be final.
struct BooksView {
  std::optional<bool> isBalanced;
  std::string text;
};
BooksView booksOf(const Situation& situation);

// The glove of a plug-in's message about faulty sensors: "left", "right" or "glove"; empty if it is none.
std::string gloveWithFaultySensors(const std::string& message);
