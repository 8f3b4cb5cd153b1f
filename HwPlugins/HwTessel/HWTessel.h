// The hardware object of the gloves: one or two of them behind one dongle.
//
// The constructor copies the process-wide settings of Settings.h once; they are copied back before they are
// saved. Threads and errors: as in shared/HwInterface.h.
// Time: records get timestamps in ms of the host's clock.
#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "Settings.h"
#include "link/BleDevice.h"
#include "shared/HwInterface.h"

class HWTessel : public HwInterface {
 public:
  // Name of the plug-in and of each of its objects.
  static constexpr const wchar_t* name = L"Tessel";

  // Reads the settings file if it exists; touches no hardware. A log manager must be set.
  HWTessel(const wchar_t* configFile, ClockFunction clock, const wchar_t* hostText);
  // Closes the link.
  ~HWTessel() override;

  std::uint64_t getNativeSize() override { return channels_.size(); }
  std::int32_t sendCommand(const wchar_t* text, std::wstring& reply) override;
  std::int32_t getMaxValue() override;
  std::int32_t getExecDelay() override { return settings_.execDelay; }
  void signalShutdown() override;
  std::int32_t configure() override;
  std::int32_t readRecord() override;
  std::int32_t close() override;
  void syncParameters(std::wstring oldFile, std::wstring newFile) override;

 protected:
  // Owned. Null until `configure`. `signalShutdown` reads it on its own thread; the device must not be
  // destroyed before that call has returned.
  std::atomic<BleDevice*> bleDevice_{nullptr};
  settings::Values settings_;         // as loaded; the members below come from them
  std::int32_t elemCount_ = 0;        // glove elements in a record, followed by the host's auxiliary elements
  std::int32_t moduleElemCount_ = 0;  // elements of one module, as the settings divide them
  std::vector<std::int32_t> channels_;  // 0, 1, 2 ..., one for each element of a record
  std::uint32_t recordStamp_ = 0;       // of the newest record
  std::uint32_t deviceBase_ = 0;        // device time of the first frame, in ms
  std::uint32_t hostBase_ = 0;          // host clock at the first frame
  bool firstFrame_ = true;              // until the first frame has its timestamp
  double driftFilter_ = 0.0;            // smoothed host clock minus timestamp, in ms
  std::uint32_t lastDelivery_ = 0;      // host clock at the latest frame; 0 for none yet
  std::int64_t lastFrameNumber_ = 0;
  std::int64_t lostFrames_ = 0;  // sum of the gaps between frame numbers
  std::atomic<bool> shutdownSignalled_{false};
  std::vector<std::int32_t>
      serialFilter_;  // serial numbers of the gloves that may be connected; empty for any

  // The message for a result of BleDevice::open. For sensor faults the link must exist.
  std::wstring openingError(std::int32_t code) const;

 private:
  void loadSettings();
  void makeDevice();
  std::wstring sensorFaultReport(std::uint32_t module) const;
  std::int32_t decideOnSilence() const;
  void timestampRecord(const Framelet& frame, std::uint64_t backlog);
  std::int32_t fillRecord();
  bool queueCommand(std::uint8_t opcode, std::span<const std::uint8_t> payload, std::int32_t module);

  std::vector<Framelet> frames_;  // of the current read; a member to reuse its memory
};
