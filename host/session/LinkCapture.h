// The capture of the link while recording: receives it from the plug-in, follows it with the accounts of the
// frames, and writes it to a file if the user wants it. Threads: one; the capture is received on another one.
// Errors: the constructor throws a Failure if no capture can be had, or if the file can't be written.
#pragma once

#include <atomic>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>

#include "host/base/ScratchFolder.h"
#include "host/capture/CaptureFeed.h"
#include "host/capture/CaptureFile.h"
#include "host/capture/CaptureTail.h"
#include "host/capture/LiveAccounts.h"

class LinkCapture {
 public:
  // Before the plug-in opens its port for the first time. `file`: empty for none.
  LinkCapture(std::size_t gloves, std::size_t elementsOfGlove, const std::filesystem::path& file,
              const SyncRules& sync = {});

  LiveAccounts& accounts() { return accounts_; }
  // False if the plug-in has written nothing, although it opened its port.
  bool hasBegun() const { return hasBegun_; }
  // The plug-in was unloaded: receives the rest that it wrote, and settles the accounts of its records.
  // Another one may be loaded then.
  void endConnection();

  // Where the capture is kept; empty if it is not.
  std::filesystem::path place() const { return place_; }
  // Why the file is not complete; empty if it is.
  std::string problem() const { return file_ ? file_->problem() : ""; }
  // After the last connection: waits until the disk has the file. problem() says so if it has not.
  void store();
  // Appends its latest part to this file, unless it has one already. A Failure if that can't be opened.
  void keepAt(const std::filesystem::path& path);

 private:
  std::atomic<bool> hasBegun_{false};
  ScratchFolder scratch_;  // of the pipe
  LiveAccounts accounts_;
  CaptureTail tail_;
  std::unique_ptr<CaptureFile> file_;
  std::filesystem::path place_;
  CaptureFeed feed_;  // last, since its thread uses the others
};
