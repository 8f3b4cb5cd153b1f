// Where a recording's records come from: the gloves, or a test's stand-in. Threads: one.
#pragma once

#include <optional>

#include "host/base/Failure.h"
#include "host/gloves/LinkWatch.h"
#include "shared/RecordStore.h"

class RecordSource {
 public:
  virtual ~RecordSource() = default;

  // Takes up to two seconds. True if the store has a new record; a Failure if the link is lost. A pause of
  // this computer is not taken for a lost link.
  virtual bool read() = 0;
  virtual const plugin::RecordStore& store() const = 0;
  virtual const LinkWatch& link() const = 0;
  // Closes the link, which takes up to two seconds; afterwards every read fails.
  virtual void close() = 0;
  // The failure to report for this verdict.
  virtual Failure linkFailure(LinkWatch::Verdict verdict) const = 0;
  // From 0 to 1, the lower value of two gloves; empty while unknown.
  virtual std::optional<double> battery() = 0;
};
