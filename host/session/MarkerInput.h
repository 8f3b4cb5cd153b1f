// Receives markers while it exists: lines from the terminal, and from a FIFO that programs write to; on
// Windows from the console, and from a named pipe. Standard input is read only if it is the terminal of which
// this process is in the foreground; anything else, such as a pipe, belongs to others. Threads: constructed
// and destroyed by one, reads on its own. Errors: the constructor throws a Failure if the FIFO can't be made,
// or std::system_error. Afterwards an input that fails is no longer read.
#pragma once

#include <filesystem>
#include <memory>

#include "host/session/Markers.h"

class MarkerInput {
 public:
  // Makes the FIFO, unless its name is empty, and removes it in the end. `typed`: receives the lines from the
  // terminal or console, on the thread that reads; empty: they are markers.
  MarkerInput(MarkerQueue& markers, const std::filesystem::path& fifo, LineTaker typed = {});
  // Returns at once. What was written to the FIFO before is in the queue.
  ~MarkerInput();
  MarkerInput(const MarkerInput&) = delete;
  MarkerInput& operator=(const MarkerInput&) = delete;

 private:
  struct Reader;
  std::unique_ptr<Reader> reader_;
};
