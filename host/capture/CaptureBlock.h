// One entry of a wire capture, as docs/capture.md describes the file: bytes of one serial call, or a note.
#pragma once

#include <algorithm>
#include <charconv>
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

  // Of a note: how many blocks the target did not take at this place.
  std::uint64_t lostBlocks() const
  {
    constexpr std::string_view prefix = "lost ";
    if (kind != Kind::note || !text.starts_with(prefix)) return 0;
    std::uint64_t blocks = 0;
    std::from_chars(text.data() + prefix.size(), text.data() + text.size(), blocks);
    return std::max<std::uint64_t>(blocks, 1);
  }
};
