// The live page of a recording: the options, and what is done with them.
#pragma once

#include <memory>
#include <optional>

#include "host/live/LiveBoard.h"
#include "host/live/LiveServer.h"

namespace CLI {
class App;
}

struct ViewOptions {
  bool isShown = false;
  bool opensBrowser = false;
  ServerOptions server;
};

// `options` receives the values and must outlive parsing. `isChosen`: the page is an option of this command,
// `--view`, rather than what it is for.
void addViewOptions(CLI::App& command, ViewOptions& options, bool isChosen);

class LiveView {
 public:
  // Begins to serve, if the page is wanted, and reports its address. Both must outlive it. A Failure if it
  // can't be served.
  LiveView(const ViewOptions& options, LiveFacts facts, MarkerQueue& markers);

  // Null without the page.
  LiveBoard* board() { return board_ ? &*board_ : nullptr; }

 private:
  std::optional<LiveBoard> board_;
  std::optional<LiveServer> server_;
};
