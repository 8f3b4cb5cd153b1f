// How an opening has to end, in these surroundings. Errors: Broken.
#pragma once

#include <cstdint>
#include <string>

#include "tests/soak/World.h"

struct Opening {
  double begin;  // virtual second
  std::int32_t result;
  const std::wstring& message;  // of the object, perhaps of an earlier opening
  bool isStopped;               // on request
  bool isSecond;                // of its object
};

class OpeningRules {
 public:
  explicit OpeningRules(const World& world) : world_(world) {}

  // The plug-in was loaded: it knows nothing of the dongle.
  void load() { loaded_ = world_.now(), isFirst_ = true; }
  // After each opening.
  void check(const Opening& opening);

 private:
  const World& world_;
  double loaded_ = 0;
  bool isFirst_ = true;  // since it was loaded
};
