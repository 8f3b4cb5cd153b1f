// The hardware object as the host drives it: the contract of every hardware plug-in.
//
// Field order and virtual order are a binary interface between host and plug-in, which must both be built
// from this header with the same compiler and standard library.
//
// Threads: the host's, one call at a time; `signalShutdown` alone may come from another thread while
// `configure` runs.
// Errors: 0 or -1, with the words of a failure in `lastError_`; a host's own mistake (no mapping, no record)
// leaves as the exception of shared/Assertion.h.
#pragma once

#include <cstdint>
#include <string>

#include "shared/BufferMapping.h"

// The host's clock in ms. Only differences count, and they wrap.
using ClockFunction = std::uint32_t (*)();

class HwInterface : public BufferMapping {
 public:
  // Copies the texts. The clock must stay callable as long as the object lives.
  HwInterface(const wchar_t* configFile, ClockFunction clock, const wchar_t* hostText);
  // Logs, and ends the object's log.
  ~HwInterface() override;

  // Runs a line of text. 0 if `reply` was set as the command's answer, otherwise -1.
  virtual std::int32_t sendCommand(const wchar_t* text, std::wstring& reply);
  // The largest value of an element.
  virtual std::int32_t getMaxValue() = 0;
  virtual std::int32_t getFixedValue();
  // What the host is told as delay of execution.
  virtual std::int32_t getExecDelay();
  virtual std::int32_t optionalQuery();
  // Asks the `configure` that is running to give up. From any thread, but only while `configure` runs, and
  // only during one: a second `configure` of the same object may replace what a late signal still works on.
  // Before `configure` has begun it has no effect.
  virtual void signalShutdown();
  // Makes the hardware ready. Blocks for seconds.
  virtual std::int32_t configure();
  // Gives the hardware a turn, and fills and commits at most one record; the record store tells whether one
  // came. Not before `configure`, and not without a mapping.
  virtual std::int32_t readRecord();
  virtual std::int32_t optionalOperation();
  // Ends the link to the hardware.
  virtual std::int32_t close();
  // Writes all parameters into the file, or into the file they were read from; true if any was written.
  virtual bool saveParameters(const wchar_t* fileName);
  // Keeps and logs the words of a failure. Always -1.
  virtual std::int32_t reportError(std::wstring message);
  // Called before parameters are saved, so that they can be brought up to date.
  virtual void syncParameters(std::wstring oldFile, std::wstring newFile);

  ClockFunction clock_;
  std::int32_t fixedValue_ = 1;
  std::wstring lastError_;
  std::wstring hostText_;
  std::wstring configFile_;
  std::wstring metaData_;
};

// One pointer to the virtual functions, the fields above in their order.
static_assert(sizeof(BufferMapping) == 16);
static_assert(sizeof(HwInterface) == sizeof(BufferMapping) + 16 + 4 * sizeof(std::wstring));
