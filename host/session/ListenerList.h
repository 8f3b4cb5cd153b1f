// Forwards what a session reports to several listeners, in their order.
#pragma once

#include <vector>

#include "host/session/Session.h"

class ListenerList final : public SessionListener {
 public:
  // It must outlive this.
  void add(SessionListener& listener) { listeners_.push_back(&listener); }

  void recording(const RecordingFigures& figures) override
  {
    for (SessionListener* const listener : listeners_)
      listener->recording(figures);
  }
  void lost(const Failure& failure, const RecordingFigures& figures) override
  {
    for (SessionListener* const listener : listeners_)
      listener->lost(failure, figures);
  }
  void waiting(const Waiting& waiting, const RecordingFigures& figures) override
  {
    for (SessionListener* const listener : listeners_)
      listener->waiting(waiting, figures);
  }
  void back(double seconds, unsigned attempts, const RecordingFigures& figures) override
  {
    for (SessionListener* const listener : listeners_)
      listener->back(seconds, attempts, figures);
  }
  void event(const RecordingEvent& event) override
  {
    for (SessionListener* const listener : listeners_)
      listener->event(event);
  }

 private:
  std::vector<SessionListener*> listeners_;
};
