// Answers requests: pages, the interface that docs/view.md describes, and refusals. Requests are compared
// with what is there, exactly, so that nothing else of this computer can be named. Threads: the server's. No
// sockets. Times are of host::uptime(). Throws only std::bad_alloc.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "host/live/Access.h"
#include "host/live/LiveTexts.h"
#include "host/live/RateLimit.h"
#include "host/live/Request.h"
#include "host/session/Markers.h"

struct Reply {
  std::string head;                           // up to and including its empty line
  std::string_view content;                   // after it
  std::shared_ptr<const std::string> keeper;  // of the content; null if it lasts anyway
  bool isStream = false;                      // events follow
  bool isKeptAlive = false;                   // the connection is, after the content
};

class Requests {
 public:
  using Time = std::chrono::nanoseconds;

  struct Limits {
    std::size_t maxViewers = 32;
    unsigned markersPerSecond = 20;
  };

  // `markers`: null if none are taken.
  Requests(Access access, LiveTexts& texts, MarkerQueue* markers, const Limits& limits);

  // `viewers`: of the stream, now.
  Reply answer(const Request& request, Time now, std::size_t viewers);

 private:
  Reply answerAllowed(const Request& request, Time now, std::size_t viewers);
  Reply state(const Request& request, Time now, std::size_t viewers);
  Reply history(const Request& request, Time now, std::size_t viewers);
  Reply stream(const Request& request, Time now, std::size_t viewers);
  Reply mark(const Request& request, Time now, std::size_t viewers);

  struct Route {
    std::string_view path;
    std::string_view methods;
    Reply (Requests::*answer)(const Request& request, Time now, std::size_t viewers);
  };
  static const std::array<Route, 4> routes;

  Access access_;
  LiveTexts& texts_;
  MarkerQueue* markers_;
  Limits limits_;
  RateLimit markerRate_;
};

// Why a request was not even read to its end. The connection ends with these.
enum class Malformed { request, version, target, headers, body, tooMany };
Reply refusal(Malformed reason);
