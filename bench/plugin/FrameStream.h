// The bytes that a dongle sends for frames of two gloves, made by the simulator beforehand, so that nothing
// but writing them is left to do while somebody measures.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

inline constexpr std::size_t elementsPerGlove = 125;
inline constexpr std::size_t messagesPerFrame = 28;  // of both gloves
inline constexpr std::size_t messageSize = 29;
inline constexpr std::size_t bytesPerFrame = messagesPerFrame * messageSize;

// Each frame is one of both gloves, their notifications by turns as the radio carries them. Frames are
// numbered from 0 in the first element of either glove.
std::vector<std::uint8_t> makeFrames(std::size_t count);
