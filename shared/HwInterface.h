// The hardware object as the host uses it: the contract of every hardware plug-in.
//
// Field order and virtual order are a binary interface between host and plug-in, which must both be built
// from this header with the same compiler and standard library.
//
// Threads: R is the host's reading thread, which makes one call at a time; brackets name the states of
// shared/PluginApi.h in which an operation may be called.
// Errors: 0 or -1, with the message of a failure in `lastError_`; a mistake of the host (no mapping, no
// record) throws as described in shared/Assertion.h, and without memory an operation may throw
// std::bad_alloc.
#pragma once

#include <cstdint>
#include <string>

#include "shared/BufferMapping.h"

// The host's clock in ms. It may wrap; only differences matter.
using ClockFunction = std::uint32_t (*)();

class HwInterface : public BufferMapping {
 public:
  // Copies the texts. The clock must stay callable during the object's lifetime.
  HwInterface(const wchar_t* configFile, ClockFunction clock, const wchar_t* hostText);
  // Logs, and closes the object's log.
  ~HwInterface() override;

  // R [any] Runs a text command. 0 if `reply` was set to its reply, otherwise -1.
  virtual std::int32_t sendCommand(const wchar_t* text, std::wstring& reply);
  // R [any] The maximum value of an element.
  virtual std::int32_t getMaxValue() = 0;
  // R [any]
  virtual std::int32_t getFixedValue();
  // R [any] The execution delay from the settings.
  virtual std::int32_t getExecDelay();
  // R [any]
  virtual std::int32_t optionalQuery();
  // Any thread [while `configure` runs] Requests that it stop; does not wait. Signal only one `configure` of
  // an object: a second one may replace what a late signal still uses. No effect before `configure` has
  // begun.
  virtual void signalShutdown();
  // R [built, once] Opens the hardware. Blocks for seconds.
  virtual std::int32_t configure();
  // R [open, failed, closed; with a mapping] Polls the hardware, and fills and commits at most one record;
  // the record store shows whether it did. Blocks for two seconds at most. May be called again after a -1.
  virtual std::int32_t readRecord();
  // R [any]
  virtual std::int32_t optionalOperation();
  // R [any] Closes the link to the hardware. Blocks for two or three seconds at most.
  virtual std::int32_t close();
  // R [any] Writes all parameters to the file, or to the file they were read from; true if any was written.
  virtual bool saveParameters(const wchar_t* fileName);
  // For the object itself: stores and logs the message of a failure. Always -1.
  virtual std::int32_t reportError(std::wstring message);
  // For the object itself: called before parameters are saved, to update them.
  virtual void syncParameters(std::wstring oldFile, std::wstring newFile);

  ClockFunction clock_;
  std::int32_t fixedValue_ = 1;
  std::wstring lastError_;
  std::wstring hostText_;
  std::wstring configFile_;
  std::wstring metaData_;
};

// One virtual table pointer, then the fields above in their order.
static_assert(sizeof(BufferMapping) == 16);
static_assert(sizeof(HwInterface) == sizeof(BufferMapping) + 16 + 4 * sizeof(std::wstring));
