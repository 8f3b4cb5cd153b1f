// The Lab Streaming Layer as a network of streams.
#pragma once

#include "host/streaming/LslLibrary.h"
#include "host/streaming/StreamNetwork.h"

class LslNetwork final : public StreamNetwork {
 public:
  // The library must outlive it.
  explicit LslNetwork(const lsl::Library& library) : library_(library) {}

  double clock() const override { return library_.localClock(); }
  std::unique_ptr<Outlet> offer(const StreamDescription& stream, Values values) override;

 private:
  const lsl::Library& library_;
};
