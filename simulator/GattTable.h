// The attributes of a glove as its GATT server presents them to any client: the standard GAP service and the
// gloves' own. Handles between the rows don't exist, which Bluetooth allows.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace simulator {

namespace handle {
inline constexpr std::uint16_t deviceName = 3;
inline constexpr std::uint16_t appearance = 5;
inline constexpr std::uint16_t command = 14;
inline constexpr std::uint16_t measurement = 17;
inline constexpr std::uint16_t configuration = 18;
inline constexpr std::uint16_t status = 22;
inline constexpr std::uint16_t version = 24;
inline constexpr std::uint16_t followUp = 26;
}  // namespace handle

// 16 or 128 bits, in wire order: low byte first.
class Uuid {
 public:
  constexpr Uuid() = default;
  constexpr explicit Uuid(std::uint16_t value)
      : bytes_{static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8)}, size_(2)
  {
  }
  constexpr explicit Uuid(const std::array<std::uint8_t, 16>& bytes) : bytes_(bytes), size_(16) {}
  // Nothing unless there are 2 or 16 bytes. One of 16 bits may be written with 128.
  static std::optional<Uuid> read(std::span<const std::uint8_t> bytes);

  std::span<const std::uint8_t> bytes() const { return std::span(bytes_).first(size_); }
  bool operator==(const Uuid&) const = default;

 private:
  std::array<std::uint8_t, 16> bytes_{};
  std::size_t size_ = 0;
};

inline constexpr Uuid primaryService{0x2800};
inline constexpr Uuid secondaryService{0x2801};
inline constexpr Uuid characteristic{0x2803};

// What a client may do with an attribute: the property bits of a characteristic.
namespace access {
inline constexpr std::uint8_t read = 0x02;
inline constexpr std::uint8_t writeCommand = 0x04;
inline constexpr std::uint8_t write = 0x08;
inline constexpr std::uint8_t notify = 0x10;
}  // namespace access

struct Attribute {
  std::uint16_t handle;
  Uuid type;
  std::uint8_t access;
  Uuid service{};  // of a service declaration

  bool allows(std::uint8_t wanted) const { return (access & wanted) == wanted; }
};

// Null if there is none.
const Attribute* findAttribute(std::uint16_t handle);
// In the order of their handles.
std::span<const Attribute> attributesIn(std::uint32_t first, std::uint32_t last);
// The last handle of the service.
std::uint16_t endOfService(const Attribute& declaration);
// The value of the declaration of a service or a characteristic.
std::vector<std::uint8_t> declaredBy(const Attribute& declaration);

}  // namespace simulator
