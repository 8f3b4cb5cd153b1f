// Serves the page and the interface that docs/view.md describes. One thread, however many viewers: one that
// is slow gets fewer pictures, one that reads nothing or floods is disconnected, and none of them can hold up
// the recording. Nothing received is trusted: see Access. A build without Boost or the page's files has
// ViewUnavailable.cpp instead, which always fails.
// Threads: constructed and destroyed by one; serves on its own. Errors: the constructor throws a Failure,
// or std::system_error if there can be no thread; afterwards what fails ends one connection.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "host/live/LiveSource.h"
#include "host/session/Markers.h"

struct ServerLimits {
  std::chrono::milliseconds request{10'000};  // to be received
  std::chrono::milliseconds reply{30'000};    // to be taken
  std::chrono::milliseconds idle{30'000};     // between a reply and the next request
  std::chrono::milliseconds viewer{30'000};   // that takes nothing of the stream
  std::chrono::milliseconds parting{1000};    // to take the last state
  std::size_t maxConnections = 64;
  std::size_t maxViewers = 32;       // of the stream
  unsigned requestsPerSecond = 100;  // of a connection
  unsigned markersPerSecond = 20;    // of all
};

struct ServerOptions {
  static constexpr std::uint16_t usualPort = 8484;

  // Of this computer: a number as "192.168.1.20" or "::", or a name. Empty: the loopback address, where no
  // token is needed.
  std::string address;
  // Empty: the usual port, or the next one that is free; 0: any.
  std::optional<std::uint16_t> port;
  ServerLimits limits;
};

class LiveServer {
 public:
  // Listens from then on. `markers`: null if none are taken. Both must outlive it.
  LiveServer(const ServerOptions& options, LiveSource& source, MarkerQueue* markers);
  // Sends the viewers the last state, for at most a second.
  ~LiveServer();
  LiveServer(const LiveServer&) = delete;
  LiveServer& operator=(const LiveServer&) = delete;

  // To be printed and opened: "http://127.0.0.1:8484/", with the token if one is needed.
  const std::string& address() const { return address_; }

 private:
  struct Service;
  std::unique_ptr<Service> service_;
  std::string address_;
};
