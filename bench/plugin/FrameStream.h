// The bytes that a dongle sends for frames of two gloves, prepared by the simulator, so that only writing
// them happens during a measurement.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

inline constexpr std::size_t elementsPerGlove = 125;
inline constexpr std::size_t messagesPerFrame = 28;  // of both gloves
inline constexpr std::size_t messageSize = 29;
inline constexpr std::size_t bytesPerFrame = messagesPerFrame * messageSize;

// Each frame covers both gloves, their notifications alternating as on the radio. Both gloves' first element
// is the frame number, from 0.
std::vector<std::uint8_t> makeFrames(std::size_t count);
