// What viewers are sent, made once for all of them and not more often than it is needed, however many ask.
// Threads: the server's. Times are of host::uptime(). Throws only std::bad_alloc.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "host/live/LiveSource.h"

class LiveTexts {
 public:
  using Time = std::chrono::nanoseconds;
  using Text = std::shared_ptr<const std::string>;

  // What a viewer has been sent: the numbers of its latest events.
  struct Seen {
    std::uint64_t layout = 0;
    std::uint64_t state = 0;
    std::uint64_t picture = 0;
  };
  // Null where there is none.
  using Events = std::array<Text, 3>;

  LiveTexts(LiveSource& source, const std::string& pageToken);

  // The stream's: makes the events that are due. To be called for each picture.
  void tick(Time now);
  // Makes all of them, for the first viewer and for the last event.
  void makeAll(Time now);
  // The newest events that the viewer has not been sent; they count as sent from then on.
  Events next(Seen& seen) const;

  // Everything as of now, or of a moment ago.
  Text everything(Time now, std::size_t viewers);
  // The curves, of the last second if somebody else has just asked.
  Text history(Time now);

 private:
  struct Event {
    std::uint64_t number = 0;
    Text text;  // as it is sent

    void set(std::string_view name, std::string_view json);
    std::string_view json(std::string_view name) const;
  };
  struct Cached {
    Time made{};
    Text text;
  };

  void updateLayout();
  void updatePicture(Time now);

  LiveSource& source_;
  std::string pageToken_;  // as JSON
  std::uint64_t layoutVersion_ = 0;
  Event layout_;
  Event state_;
  Event picture_;
  Time stateMade_{};
  Time stateSent_{};
  Time pictureMade_{};
  std::string stateApartFromClock_;
  Cached everything_;
  Cached history_;
};
