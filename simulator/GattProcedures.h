// The GATT procedures of a client: each makes requests to a glove, one at a time, and reports to the host
// what the glove answers. The connection decides when.
//   request -> answer, messages to the host -> next request -> ... -> ble_evt_attclient_procedure_completed
// A read by handle ends with its value instead. An answer fits into Bluetooth's smallest packet, 23 bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "simulator/Faults.h"
#include "simulator/Glove.h"
#include "simulator/Wire.h"

namespace simulator {

using Message = std::vector<std::uint8_t>;

enum class ValueType : std::uint8_t { read = 0, notified = 1, readByType = 3, readLong = 4 };

// Most bytes that a client can write at once.
inline constexpr std::size_t maxWrittenSize = 20;

// ble_evt_attclient_attribute_value
Message attributeValue(std::uint8_t connection, std::uint16_t attribute, ValueType type,
                       std::span<const std::uint8_t> value);

class GattProcedure {
 public:
  struct Answer {
    std::vector<Message> messages;
    bool isLast;  // no other request follows
  };

  // The attribute is 0 for a discovery.
  GattProcedure(std::uint8_t connection, std::uint16_t attribute)
      : connection_(connection), attribute_(attribute)
  {
  }
  GattProcedure(const GattProcedure&) = delete;
  GattProcedure& operator=(const GattProcedure&) = delete;
  virtual ~GattProcedure() = default;

  // The glove answers the next request.
  virtual Answer takeAnswer(Glove& glove) = 0;
  // The messages that report its response and its end, where a fault can leave them out.
  virtual std::optional<Step> responseStep() const { return std::nullopt; }
  virtual std::optional<Step> endStep() const { return std::nullopt; }

  // ble_evt_attclient_procedure_completed
  Message completed(std::uint16_t outcome) const { return completed(outcome, attribute_); }

 protected:
  std::uint8_t connection() const { return connection_; }
  std::uint16_t attribute() const { return attribute_; }
  Message completed(std::uint16_t outcome, std::uint16_t attribute) const;

 private:
  std::uint8_t connection_;
  std::uint16_t attribute_;
};

// Each reads the parameters that follow the connection in its command. Null if they are invalid.
namespace gatt_procedure {
std::unique_ptr<GattProcedure> readByGroupType(std::uint8_t connection, PayloadReader parameters);
std::unique_ptr<GattProcedure> readByType(std::uint8_t connection, PayloadReader parameters);
std::unique_ptr<GattProcedure> findInformation(std::uint8_t connection, PayloadReader parameters);
std::unique_ptr<GattProcedure> readByHandle(std::uint8_t connection, PayloadReader parameters);
std::unique_ptr<GattProcedure> readLong(std::uint8_t connection, PayloadReader parameters);
std::unique_ptr<GattProcedure> writeAttribute(std::uint8_t connection, PayloadReader parameters);
}  // namespace gatt_procedure

}  // namespace simulator
