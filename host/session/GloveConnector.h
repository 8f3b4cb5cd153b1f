// Opens the gloves, time and again if need be: the real ones, or a test's stand-in. Threads: one.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/capture/HeardDevices.h"
#include "host/gloves/RecordSource.h"

class GloveConnector {
 public:
  // False: give up.
  using GoesOn = std::function<bool()>;

  virtual ~GloveConnector() = default;

  // Opens the gloves, which takes up to 15 seconds; `goesOn` is called several times a second meanwhile, at
  // times on another thread. A Failure if they can't be opened: everything is released again then. The source
  // is valid until disconnect().
  virtual RecordSource& connect(const GoesOn& goesOn) = 0;
  // The names of the connected gloves, in the order of the records.
  virtual std::vector<std::string> modules() { return {}; }
  // Closes the link and releases everything: what was recorded until then is known completely.
  virtual void disconnect() = 0;
  // Whose advertisements arrived since the gloves were last connected; empty without a capture.
  virtual std::optional<HeardDevices> heard() const = 0;
};
