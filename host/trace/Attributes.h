// What the attributes of a glove are called, and what their values mean. Nothing received is trusted.
// Errors: none; the text of a value that is not understood is empty. Foreign text is returned as it came.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

// "measurement"; empty if a glove has no such attribute.
std::string_view attributeName(std::uint16_t handle);

// Of a value that the glove sent.
std::string receivedValueText(std::uint16_t handle, std::span<const std::uint8_t> value);
// Of a value that was written.
std::string writtenValueText(std::uint16_t handle, std::span<const std::uint8_t> value);

// "0x2902 CCCD", or the 128 bits as they are written usually. The UUID is in wire order.
std::string uuidText(std::span<const std::uint8_t> uuid);
// The AD structures of an advertisement.
std::string advertisingText(std::span<const std::uint8_t> data);
// "00:07:80:65:43:21". The address is in wire order.
std::string addressText(std::span<const std::uint8_t> address);
// "80 19 04 05"
std::string hexText(std::span<const std::uint8_t> bytes);
