// The hardware object as the host drives it: the contract of every hardware plug-in.
//
// Field order and virtual order are a binary interface between host and plug-in, which must both be built
// from this header with the same compiler and standard library.
//
// Threads: R is the host's reading thread, which makes one call at a time; in brackets stand the states of
// shared/PluginApi.h in which an operation may be called.
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

  // R [any] Runs a line of text. 0 if `reply` was set as the command's answer, otherwise -1.
  virtual std::int32_t sendCommand(const wchar_t* text, std::wstring& reply);
  // R [any] The largest value of an element.
  virtual std::int32_t getMaxValue() = 0;
  // R [any]
  virtual std::int32_t getFixedValue();
  // R [any] The delay of execution that the settings name.
  virtual std::int32_t getExecDelay();
  // R [any]
  virtual std::int32_t optionalQuery();
  // Any thread [while `configure` runs] Asks it to give up; waits for nothing. Signal only one `configure` of
  // an object: a second one may replace what a late signal still works on. Before `configure` has begun it
  // has no effect.
  virtual void signalShutdown();
  // R [built, once] Makes the hardware ready. Blocks for seconds.
  virtual std::int32_t configure();
  // R [open, failed, closed; with a mapping] Gives the hardware a turn, and fills and commits at most one
  // record, which shows in the record store. Blocks for a second or two at most. After a -1 it may be called
  // again.
  virtual std::int32_t readRecord();
  // R [any]
  virtual std::int32_t optionalOperation();
  // R [any] Ends the link to the hardware. Blocks for two or three seconds at most.
  virtual std::int32_t close();
  // R [any] Writes all parameters into the file, or into the file they were read from; true if any was
  // written.
  virtual bool saveParameters(const wchar_t* fileName);
  // For the object itself: keeps and logs the words of a failure. Always -1.
  virtual std::int32_t reportError(std::wstring message);
  // For the object itself: called before parameters are saved, so that they can be brought up to date.
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
