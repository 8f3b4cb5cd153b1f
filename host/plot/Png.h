// Encodes pixels as PNG, and bytes as base64.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

// RGB pixels of three bytes, row by row.
std::vector<std::uint8_t> encodePng(std::span<const std::uint8_t> pixels, std::size_t width,
                                    std::size_t height);

std::string base64(std::span<const std::uint8_t> bytes);
