#include "simulator/GattProcedures.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "simulator/GattTable.h"

namespace simulator {

namespace {

constexpr std::size_t maxValueSize = 22;  // in the answer to a read
constexpr std::size_t maxListSize = 21;   // of all entries in the answer to a discovery
constexpr std::size_t maxListedValue = 19;
constexpr std::uint16_t confirmingRevision = 5;  // of start and end of notifications

std::span<const std::uint8_t> firstOf(std::span<const std::uint8_t> bytes, std::size_t count)
{
  return bytes.first(std::min(bytes.size(), count));
}

class Read : public GattProcedure {
 public:
  using GattProcedure::GattProcedure;

  std::optional<Step> responseStep() const final
  {
    if (attribute() == handle::version) return Step::versionResponse;
    if (attribute() == handle::status) return Step::statusResponse;
    return std::nullopt;
  }
  std::optional<Step> endStep() const final
  {
    if (attribute() == handle::version) return Step::versionValue;
    if (attribute() == handle::status) return Step::statusValue;
    return std::nullopt;
  }
};

class ReadByHandle final : public Read {
 public:
  using Read::Read;

  Answer takeAnswer(Glove& glove) override
  {
    const auto [outcome, value] = glove.read(attribute());
    if (outcome != result::success) return {{completed(outcome)}, true};
    return {{attributeValue(connection(), attribute(), ValueType::read, firstOf(value, maxValueSize))}, true};
  }
};

class ReadLong final : public Read {
 public:
  using Read::Read;

  Answer takeAnswer(Glove& glove) override
  {
    const auto [outcome, value] = glove.read(attribute());
    if (outcome != result::success) return {{completed(outcome)}, true};
    const auto rest = std::span(value).subspan(std::min(offset_, value.size()));
    const auto part = firstOf(rest, maxValueSize);
    offset_ += part.size();
    Answer answer{{}, part.size() < maxValueSize};
    if (!part.empty())
      answer.messages.push_back(attributeValue(connection(), attribute(), ValueType::readLong, part));
    if (answer.isLast) answer.messages.push_back(completed(result::success));
    return answer;
  }

 private:
  std::size_t offset_ = 0;
};

class Write final : public GattProcedure {
 public:
  Write(std::uint8_t connection, std::uint16_t attribute, std::span<const std::uint8_t> value)
      : GattProcedure(connection, attribute), value_(value.begin(), value.end())
  {
  }

  Answer takeAnswer(Glove& glove) override
  {
    const std::uint16_t outcome = glove.write(attribute(), value_);
    const bool isConfirmed =
        attribute() != handle::configuration || glove.config.revision >= confirmingRevision;
    if (!isConfirmed) return {{}, true};
    return {{completed(outcome)}, true};
  }
  std::optional<Step> endStep() const override
  {
    if (attribute() != handle::configuration || value_.empty()) return std::nullopt;
    return value_.front() & 1 ? Step::startNotifications : Step::stopNotifications;
  }

 private:
  std::vector<std::uint8_t> value_;
};

// Goes through a range of handles. An answer lists as many entries of one size as fit into it.
class Discovery : public GattProcedure {
 public:
  Discovery(std::uint8_t connection, std::uint16_t first, std::uint16_t last)
      : GattProcedure(connection, 0), next_(first), last_(last)
  {
  }

  Answer takeAnswer(Glove& glove) override
  {
    if (!hasFound_ && (next_ == 0 || next_ > last_)) return {{completed(result::invalidHandle)}, true};
    std::vector<Message> found;
    std::size_t size = 0;
    for (const Attribute& attribute : attributesIn(next_, last_)) {
      if (!matches(attribute)) continue;
      Entry entry = list(attribute, glove);
      if (found.empty() && entry.outcome != result::success)
        return {{completed(entry.outcome, attribute.handle)}, true};
      const bool fits = found.empty() || (entry.size == size && (found.size() + 1) * size <= maxListSize);
      if (!fits || entry.outcome != result::success) break;
      size = entry.size;
      next_ = entry.last + 1U;
      found.push_back(std::move(entry.message));
    }
    if (found.empty()) {
      return {{completed(hasFound_ ? result::success : result::attributeNotFound)}, true};
    }
    hasFound_ = true;
    return {std::move(found), false};
  }

 protected:
  struct Entry {
    std::uint16_t outcome;
    std::size_t size;    // in the answer
    std::uint16_t last;  // handle that it covers
    Message message;
  };

 private:
  virtual bool matches(const Attribute& attribute) const = 0;
  virtual Entry list(const Attribute& attribute, const Glove& glove) const = 0;

  std::uint32_t next_;
  std::uint32_t last_;
  bool hasFound_ = false;
};

class ServiceDiscovery final : public Discovery {
 public:
  ServiceDiscovery(std::uint8_t connection, std::uint16_t first, std::uint16_t last, const Uuid& group)
      : Discovery(connection, first, last), group_(group)
  {
  }

  Answer takeAnswer(Glove& glove) override
  {
    if (group_ == primaryService || group_ == secondaryService) return Discovery::takeAnswer(glove);
    return {{completed(result::unsupportedGroupType)}, true};
  }

 private:
  bool matches(const Attribute& attribute) const override { return attribute.type == group_; }
  Entry list(const Attribute& attribute, const Glove&) const override
  {
    const std::uint16_t last = endOfService(attribute);
    const auto uuid = attribute.service.bytes();
    return {result::success, 4 + uuid.size(), last,
            MessageWriter::event(message_class::attclient, 2)
                .u8(connection())
                .u16(attribute.handle)
                .u16(last)
                .array(uuid)
                .message()};
  }

  Uuid group_;
};

class InformationDiscovery final : public Discovery {
 public:
  using Discovery::Discovery;

 private:
  bool matches(const Attribute&) const override { return true; }
  Entry list(const Attribute& attribute, const Glove&) const override
  {
    const auto uuid = attribute.type.bytes();
    return {result::success, 2 + uuid.size(), attribute.handle,
            MessageWriter::event(message_class::attclient, 4)
                .u8(connection())
                .u16(attribute.handle)
                .array(uuid)
                .message()};
  }
};

class ValueDiscovery final : public Discovery {
 public:
  ValueDiscovery(std::uint8_t connection, std::uint16_t first, std::uint16_t last, const Uuid& type)
      : Discovery(connection, first, last), type_(type)
  {
  }

 private:
  bool matches(const Attribute& attribute) const override { return attribute.type == type_; }
  Entry list(const Attribute& attribute, const Glove& glove) const override
  {
    const auto [outcome, value] = glove.read(attribute.handle);
    const auto listed = firstOf(value, maxListedValue);
    return {outcome, 2 + listed.size(), attribute.handle,
            attributeValue(connection(), attribute.handle, ValueType::readByType, listed)};
  }

  Uuid type_;
};

// The parameters of a discovery of one type: first and last handle, UUID.
template <class Procedure>
std::unique_ptr<GattProcedure> discoveryOfType(std::uint8_t connection, PayloadReader parameters)
{
  const std::uint16_t first = parameters.u16();
  const std::uint16_t last = parameters.u16();
  const auto uuid = Uuid::read(parameters.array());
  return uuid ? std::make_unique<Procedure>(connection, first, last, *uuid) : nullptr;
}

}  // namespace

Message attributeValue(std::uint8_t connection, std::uint16_t attribute, ValueType type,
                       std::span<const std::uint8_t> value)
{
  return MessageWriter::event(message_class::attclient, 5)
      .u8(connection)
      .u16(attribute)
      .u8(static_cast<std::uint8_t>(type))
      .array(value)
      .message();
}

Message GattProcedure::completed(std::uint16_t outcome, std::uint16_t attribute) const
{
  return MessageWriter::event(message_class::attclient, 1)
      .u8(connection_)
      .u16(outcome)
      .u16(attribute)
      .message();
}

namespace gatt_procedure {

std::unique_ptr<GattProcedure> readByGroupType(std::uint8_t connection, PayloadReader parameters)
{
  return discoveryOfType<ServiceDiscovery>(connection, parameters);
}

std::unique_ptr<GattProcedure> readByType(std::uint8_t connection, PayloadReader parameters)
{
  return discoveryOfType<ValueDiscovery>(connection, parameters);
}

std::unique_ptr<GattProcedure> findInformation(std::uint8_t connection, PayloadReader parameters)
{
  const std::uint16_t first = parameters.u16();
  return std::make_unique<InformationDiscovery>(connection, first, parameters.u16());
}

std::unique_ptr<GattProcedure> readByHandle(std::uint8_t connection, PayloadReader parameters)
{
  return std::make_unique<ReadByHandle>(connection, parameters.u16());
}

std::unique_ptr<GattProcedure> readLong(std::uint8_t connection, PayloadReader parameters)
{
  return std::make_unique<ReadLong>(connection, parameters.u16());
}

std::unique_ptr<GattProcedure> writeAttribute(std::uint8_t connection, PayloadReader parameters)
{
  const std::uint16_t attribute = parameters.u16();
  const auto value = parameters.array();
  if (value.size() > maxWrittenSize) return nullptr;
  return std::make_unique<Write>(connection, attribute, value);
}

}  // namespace gatt_procedure

}  // namespace simulator
