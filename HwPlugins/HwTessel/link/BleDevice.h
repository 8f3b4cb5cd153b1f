// The link to the gloves: opened once, polled while the host reads, closed. One object at a time is the
// current device, which the message handlers work with; the module table and the other statics of Modules.h
// belong to it.
//
// Threads: one thread runs the link. `raiseStop` alone may be called from another one at any moment; opening
// and polling give up at their next look at the flag, which stays up but for the moments that `close` needs.
// Time: milliseconds; the operations that wait block their caller.
// Errors: results, see below. What receives may also throw the `const wchar_t*` of a failed
// assertion: a module more than the table holds is to be entered. Memory: owns its queues; the port stays
// open until `close`, also behind a failed `open`.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "link/OpeningResult.h"
#include "link/RemoteCommand.h"
#include "link/Transport.h"
#include "stream/Framelet.h"

class BleDevice : public Transport {
 public:
  // Becomes the current device and clears the module table. A log manager must be set; throws its
  // std::wstring if the log file can't be created.
  BleDevice();
  // Leaves no current device behind, whichever it was, and the port as it is.
  ~BleDevice();
  BleDevice(const BleDevice&) = delete;
  BleDevice& operator=(const BleDevice&) = delete;

  // Takes the link from nothing to listening: finds and restarts the dongle, checks its firmware, scans,
  // puts the left glove first, connects and starts the notifications. More than two modules count as two. Of
  // the filter the first two numbers are used, 16 bits of each; an empty one leaves that of an earlier
  // opening in force. May run once for each object; blocks for seconds.
  OpeningResult open(std::int32_t wantedModules, const std::vector<std::int32_t>& wantedSerials,
                     bool skipSensorCheck);

  // Sends at most one queued command, at half a second each, and takes at most one message, waiting up to a
  // second for its header and for its payload. False from the second poll in a row that handled none; an
  // unknown message counts as none.
  bool poll();

  // Stops the notifications, disconnects the modules and closes the port, whatever they answer; takes up to a
  // second and a quarter for each module that is silent. A raised stop flag is lowered for each module
  // meanwhile. Does nothing if the port is closed. What a handler throws passes through, with the port closed
  // and the stop flag as it was.
  void close();

  // Closes the port without a word to the dongle: for a device that another one has taken the place of.
  void abandonPort() { serialClose(port_); }

  // Appends to `frames`, expected empty, the next frame of one glove (`sensorCount` 1) or of both gloves, the
  // left one first; false if there is none, or not one of each. With two gloves a fuller queue is cut, so
  // that the newest frames meet, and queues four or more apart change the connection interval, which blocks
  // 50 ms for each connection. `backlog`: frames that waited in the longer queue; 0 if one of two queues was
  // empty.
  bool fetchFrame(std::vector<Framelet>& frames, std::int32_t sensorCount, std::uint64_t& backlog);

  // Asks for 25 ms and 20 ms in turn on every connection, at 50 ms each.
  void toggleConnectionInterval();

  // The lower 5-bit code of the gloves connected.
  std::int32_t batteryCode() const;

  // Texts for people. `versionText` and `moduleMapText` name each module that the scan found; the others give
  // "Invalid" for an index outside the table.
  std::wstring versionText() const;
  std::wstring moduleMapText() const;
  std::wstring sideText(std::uint32_t module) const;
  std::wstring sensorStatusText(std::uint32_t module, std::uint32_t position) const;
  const std::wstring& identity() const { return identity_; }

  // Puts a command behind those that wait for a poll.
  void enqueue(RemoteCommand command) { commands_.push_back(std::move(command)); }

 private:
  OpeningResult checkFirmware();
  OpeningResult findModules();
  OpeningResult connectModules();
  OpeningResult startModule(std::uint32_t index, bool skipSensorCheck);
  OpeningResult stopIfRaised();
  void probeAfterErrors();
  void sendNextCommand();  // there must be one
  void disconnectModule(std::uint32_t index);

  std::deque<RemoteCommand> commands_;  // oldest first
  const std::wstring identity_ = L"FingerMapper";
  std::int32_t failedPolls_ = 0;  // in a row; counts no further than it has to
};
