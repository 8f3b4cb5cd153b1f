// One entry of a wire capture, as docs/capture.md describes the file: bytes of one serial call, or a note.
#pragma once

#include <chrono>
#include <cstdint>
#include <span>
#include <string_view>

struct CaptureBlock {
  enum class Kind {
    section,   // the plug-in was loaded: earlier state of the link no longer counts
    received,  // bytes that the plug-in read from the port
    sent,      // bytes that it wrote
    note,      // text: what happened to the port, or to the capture
  };

  Kind kind = Kind::note;
  std::chrono::nanoseconds time{0};       // of host::uptime(), when the serial call returned
  std::span<const std::uint8_t> bytes{};  // valid until the reader is used again, as is the text
  // Of a note: "open COM7", "reset", "purge", "close" or "lost N blocks". Of received bytes: empty, or
  // "incomplete" if the read ended early and the plug-in dropped them.
  std::string_view text{};
};
