// What the streams of a recording need of a network that other programs on this or other computers receive
// from: its clock, and outlets, each of which offers one stream while it exists.
// Threads: one, except clock(): any. Errors: a Failure if a stream can't be offered.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "host/recording/StreamDescription.h"

class StreamNetwork {
 public:
  class Outlet {
   public:
    virtual ~Outlet() = default;
    // At a time of the network's clock; one value for each channel. False if it was not taken.
    virtual bool push(double seconds, std::span<const std::int32_t> values) = 0;
    virtual bool push(double seconds, const std::string& text) = 0;
    virtual bool hasReceivers() = 0;
  };
  enum class Values { numbers, texts };

  virtual ~StreamNetwork() = default;
  // In seconds, of this computer.
  virtual double clock() const = 0;
  virtual std::unique_ptr<Outlet> offer(const StreamDescription& stream, Values values) = 0;
};
