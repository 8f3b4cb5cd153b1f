// Pixels as a PNG file in memory, and any bytes as text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

// Of three bytes for each pixel, row after row.
std::vector<std::uint8_t> encodePng(std::span<const std::uint8_t> pixels, std::size_t width,
                                    std::size_t height);

std::string base64(std::span<const std::uint8_t> bytes);
