// What passed between a program and the dongle, taken from a capture, in a form that can be played again.
// Errors of readDialogue: Failure(recording) if the file can't be read, is no capture, or is too large.
// Memory: at most the file's size.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <span>
#include <vector>

#include "host/capture/CaptureBlock.h"
#include "host/capture/Causes.h"

struct Dialogue {
  using Time = std::chrono::microseconds;  // since the beginning of the capture

  // A command of the program, or what it read of the dongle in one piece: a message, or part of one.
  struct Step {
    static constexpr std::uint32_t noCause = std::numeric_limits<std::uint32_t>::max();

    bool isCommand = false;
    bool isStream = false;          // a notification; of a command: it starts notifications
    std::uint32_t size = 0;         // in bytes
    std::uint32_t cause = noCause;  // of a message: the command in the same opening that it is due to
    std::size_t begin = 0;          // of its bytes
    Time time{0};
  };

  enum class Ending {
    closed,    // by the program
    reset,     // the program restarted the dongle
    vanished,  // the port was lost while gloves were connected
    cut,       // the capture ends, or another program goes on
  };

  // From one opening of the port to its closing.
  struct Opening {
    std::size_t section = 0;  // counted from 1: one for each time that the plug-in was loaded
    Time begin{0}, end{0};
    Ending ending = Ending::cut;
    std::vector<Step> steps;
    std::vector<std::uint32_t> commands;  // of the steps
    Time lastStream{-1};                  // the latest notification
  };

  std::vector<Opening> openings;
  std::vector<std::uint8_t> bytes;
  std::size_t sections = 0;
  std::uint64_t lostBlocks = 0;    // that the capture says it lacks
  std::uint64_t skippedBytes = 0;  // of the file: damaged

  std::span<const std::uint8_t> bytesOf(const Step& step) const
  {
    return std::span(bytes).subspan(step.begin, step.size);
  }
};

// The bytes of a command, whichever way they came.
std::vector<std::uint8_t> commandBytes(const simulator::Command& command);
bool isReset(std::span<const std::uint8_t> command);
bool isDisconnect(std::span<const std::uint8_t> command);

class DialogueBuilder {
 public:
  void add(const CaptureBlock& block);
  // Bytes of the capture are missing here.
  void addGap();
  Dialogue finish();

 private:
  using Nanoseconds = std::chrono::nanoseconds;

  void passTime(Nanoseconds blockTime, bool isNewSection);
  Dialogue::Time now() const;
  Dialogue::Opening& opening();
  void endOpening(Dialogue::Ending ending);
  void endByClosing();
  void note(std::string_view text);
  void received(const CaptureBlock& block);
  void sent(const CaptureBlock& block);
  void flushRest();
  void addCommand(const simulator::Command& command);
  Dialogue::Step& addStep(std::span<const std::uint8_t> bytes, Dialogue::Time time);

  Dialogue dialogue_;
  bool isOpen_ = false;  // the last opening goes on
  std::optional<Nanoseconds> latestBlock_;
  Nanoseconds elapsed_{0};
  MessageReader received_;
  simulator::CommandParser sent_;
  Dialogue::Time restTime_{0};  // when the bytes of an unfinished message came
  bool receivedInStep_ = true;  // after a gap: the beginning of a message was found again
  bool sentInStep_ = true;
  Causes causes_;
};

Dialogue readDialogue(const std::filesystem::path& path);
