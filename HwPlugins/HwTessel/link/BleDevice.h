// The link to the gloves: opened once, polled while the host reads, closed. One object at a time is the
// current device, which the message handlers use; the module table and the other statics of Modules.h belong
// to it.
//
// Threads: one thread runs the link. Only `raiseStop` may be called from another thread at any time; opening
// and polling stop when they next check the flag, which stays raised except while `close` runs.
// Time: milliseconds; operations that wait block their caller.
// Errors: results, see below. An operation that receives messages may also throw the `const wchar_t*` of a
// failed assertion if the scan finds more modules than the table holds.
// Memory: owns its queues; the port stays open until `close`, even after a failed `open`.
#pragma once

#include <cstdint>
#include <deque>
#include <exception>
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
  // Leaves no device current, not even another one, and does not close the port.
  ~BleDevice();
  BleDevice(const BleDevice&) = delete;
  BleDevice& operator=(const BleDevice&) = delete;

  // Opens the link until the gloves send: finds and resets the dongle, checks its firmware, scans, puts the
  // left glove first, connects and starts the notifications. More than two modules count as two. Only the
  // first two numbers of the filter are used, 16 bits of each; an empty filter keeps that of an earlier
  // opening. Call it at most once for each object; blocks for seconds.
  OpeningResult open(std::int32_t wantedModules, const std::vector<std::int32_t>& wantedSerials,
                     bool skipSensorCheck);

  // Sends at most one queued command, which takes half a second, and receives at most one message, waiting up
  // to a second each for its header and its payload. Returns false from the second poll in a row that handled
  // no message; an unknown message counts as none.
  bool poll();

  // Stops the notifications, disconnects the modules and closes the port, whatever they answer; takes up to a
  // second and a quarter for each silent module. The stop flag is lowered while a module is disconnected.
  // Does nothing if the port is closed. An exception of a handler is passed on in the end, with both modules
  // disconnected, the port closed and the stop flag restored.
  void close();

  // Closes the port without sending anything: for a device that another one replaces.
  void abandonPort() { serialClose(port_); }

  // Appends the next frame of one glove (`sensorCount` 1) or of both gloves, the left one first, to `frames`,
  // which must be empty. False if one is missing. With two gloves the longer queue is trimmed so that the
  // newest frames match, and a difference of four or more frames changes the connection interval, which
  // blocks for 50 ms for each connection. `backlog`: frames that were waiting in the longer queue; 0 if one
  // of two queues was empty.
  bool fetchFrame(std::vector<Framelet>& frames, std::int32_t sensorCount, std::uint64_t& backlog);

  // Requests intervals of 25 ms and 20 ms alternately on every connection; blocks for 50 ms for each.
  void toggleConnectionInterval();

  // The lowest 5-bit battery code of the connected gloves.
  std::int32_t batteryCode() const;

  // Texts for the user. `versionText` and `moduleMapText` list each module that the scan found; the others
  // return "Invalid" for an index outside the table.
  std::wstring versionText() const;
  std::wstring moduleMapText() const;
  std::wstring sideText(std::uint32_t module) const;
  std::wstring sensorStatusText(std::uint32_t module, std::uint32_t position) const;
  const std::wstring& identity() const { return identity_; }

  // Queues a command for a later poll.
  void enqueue(RemoteCommand command) { commands_.push_back(std::move(command)); }

 private:
  void logCaptureError() const;
  OpeningResult checkFirmware();
  OpeningResult findModules();
  OpeningResult connectModules();
  OpeningResult startModule(std::uint32_t index, bool skipSensorCheck);
  OpeningResult stopIfRaised();
  void probeAfterErrors();
  void sendNextCommand();  // the queue must not be empty
  // `error`: gets the first exception while it waits, if there was none before.
  void disconnectModule(std::uint32_t index, std::exception_ptr& error);

  std::deque<RemoteCommand> commands_;  // oldest first
  const std::wstring identity_ = L"FingerMapper";
  std::int32_t failedPolls_ = 0;  // in a row; stops counting at the limit
};
