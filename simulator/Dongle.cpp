#include "simulator/Dongle.h"

#include <algorithm>
#include <utility>

#include "simulator/GattProcedures.h"

namespace simulator {

namespace {

constexpr Address dongleAddress{0x01, 0x43, 0x65, 0x80, 0x07, 0x00};

}  // namespace

Dongle::Dongle(VirtualClock& clock)
    : neighbours(clock, [this](const ScanReport& report) { sendScanResponse(report); }),
      clock_(clock),
      life_(std::make_shared<const bool>(true))
{
}

Glove& Dongle::addGlove(GloveConfig config)
{
  while (gloveAt(config.address)) {
    for (std::uint8_t& byte : config.address) {
      if (++byte != 0) break;
    }
  }
  gloves_.push_back(std::make_unique<Glove>(clock_, std::move(config)));
  if (isScanning()) listenTo(gloves_.size() - 1, firstAdvertisement(gloves_.size() - 1));
  return *gloves_.back();
}

void Dongle::receive(std::span<const std::uint8_t> bytes)
{
  if (!isPresent_) return;
  parser_.add(bytes);
  while (const auto command = parser_.next()) {
    accept(*command);
  }
}

void Dongle::inject(std::span<const std::uint8_t> bytes)
{
  if (isPresent_ && onSend) onSend(bytes);
}

void Dongle::drop(Glove& glove, std::uint16_t reason)
{
  for (const auto& [number, connection] : connections_) {
    if (&connection->glove() != &glove) continue;
    connection->end(reason);
    return;
  }
}

void Dongle::send(std::vector<std::uint8_t> message)
{
  if (!isPresent_ || faults.mute) return;
  if (cut_) message.resize(std::min(message.size(), *std::exchange(cut_, std::nullopt)));
  if (onSend && !message.empty()) onSend(message);
}

template <auto makeProcedure, std::uint8_t id>
void Dongle::beginProcedure(PayloadReader payload)
{
  const std::uint8_t number = payload.u8();
  if (const auto connection = connectionOf(number, message_class::attclient, id))
    connection->begin(makeProcedure(number, payload), id);
}

const Dongle::CommandRow* Dongle::findCommand(const Command& command)
{
  using namespace gatt_procedure;
  static constexpr std::array<CommandRow, 23> rows{{
      {message_class::system, 0, 1, false, &Dongle::reset},
      {message_class::system, 1, 0, false, &Dongle::hello},
      {message_class::system, 2, 0, false, &Dongle::getAddress},
      {message_class::system, 6, 0, false, &Dongle::getConnections},
      {message_class::system, 8, 0, false, &Dongle::getInfo},
      {message_class::connection, 0, 1, false, &Dongle::disconnect},
      {message_class::connection, 1, 1, false, &Dongle::getRssi},
      {message_class::connection, 2, 9, false, &Dongle::updateConnection},
      {message_class::connection, 3, 1, false, &Dongle::exchangeVersions},
      {message_class::attclient, 1, 6, true, &Dongle::beginProcedure<readByGroupType, 1>},
      {message_class::attclient, 2, 6, true, &Dongle::beginProcedure<readByType, 2>},
      {message_class::attclient, 3, 5, false, &Dongle::beginProcedure<findInformation, 3>},
      {message_class::attclient, 4, 3, false, &Dongle::beginProcedure<readByHandle, 4>},
      {message_class::attclient, 5, 4, true, &Dongle::beginProcedure<writeAttribute, 5>},
      {message_class::attclient, 6, 4, true, &Dongle::writeCommand},
      {message_class::attclient, 8, 3, false, &Dongle::beginProcedure<readLong, 8>},
      {message_class::sm, 1, 1, false, &Dongle::setBondableMode},
      {message_class::gap, 1, 2, false, &Dongle::setMode},
      {message_class::gap, 2, 1, false, &Dongle::discover},
      {message_class::gap, 3, 15, false, &Dongle::connectDirect},
      {message_class::gap, 4, 0, false, &Dongle::endProcedure},
      {message_class::gap, 6, 3, false, &Dongle::setFiltering},
      {message_class::gap, 7, 5, false, &Dongle::setScanParameters},
  }};
  const auto row = std::ranges::find_if(rows, [&](const CommandRow& candidate) {
    return command.isCommand && candidate.group == command.group && candidate.id == command.id;
  });
  return row == rows.end() ? nullptr : &*row;
}

bool Dongle::CommandRow::fits(std::span<const std::uint8_t> payload) const
{
  if (payload.size() < length) return false;
  return payload.size() == length + (endsWithArray ? payload[length - 1] : 0U);
}

void Dongle::accept(const Command& command)
{
  const CommandRow* row = findCommand(command);
  const bool fits = row && row->fits(command.payload);
  if (fits && row->execute == &Dongle::reset) {
    reset(PayloadReader(command.payload));
    return;
  }
  lastAnswer_ = std::max(lastAnswer_, clock_.now() + answerTime);
  clock_.after(lastAnswer_ - clock_.now(),
               [this, row, fits, payload = command.payload, life = std::weak_ptr<const bool>(life_)] {
                 if (life.expired() || faults.mute) return;
                 if (fits) {
                   (this->*row->execute)(PayloadReader(payload));
                 } else {
                   const auto reason = row ? result::invalidParameter : result::invalidCommand;
                   send(MessageWriter::event(message_class::system, 6).u16(reason).message());
                 }
               });
}

void Dongle::unplug()
{
  if (std::exchange(isUnplugged_, true)) return;
  const bool wasPresent = isPresent_;
  goAway();
  if (wasPresent && onPresence) onPresence(false);
}

void Dongle::plugIn()
{
  if (std::exchange(isUnplugged_, false)) start();
}

// The port disappears before the rest of the host's bytes is processed.
void Dongle::reset(PayloadReader)
{
  goAway();
  if (!faults.staysAway) start();
  if (onPresence) onPresence(false);
}

void Dongle::goAway()
{
  isPresent_ = false;
  life_ = std::make_shared<const bool>(true);
  parser_.clear();
  endGapProcedure();
  for (const auto& [number, connection] : connections_) {
    connection->close();
  }
  connections_.clear();
  scanSettings_ = {};
}

void Dongle::start()
{
  clock_.after(restartTime, [this, life = std::weak_ptr<const bool>(life_)] {
    if (!life.expired()) comeBack();
  });
}

void Dongle::comeBack()
{
  const std::weak_ptr<const bool> life = life_;
  isPresent_ = true;
  if (onPresence) onPresence(true);
  if (!life.expired()) send(withVersions(MessageWriter::event(message_class::system, 0)));
}

std::vector<std::uint8_t> Dongle::withVersions(MessageWriter message) const
{
  constexpr std::uint16_t linkLayerVersion = 3;
  constexpr std::uint8_t protocolVersion = 1;
  constexpr std::uint8_t hardware = 2;
  return message.u16(firmware.major)
      .u16(firmware.minor)
      .u16(firmware.patch)
      .u16(firmware.build)
      .u16(linkLayerVersion)
      .u8(protocolVersion)
      .u8(hardware)
      .message();
}

void Dongle::hello(PayloadReader)
{
  send(MessageWriter::response(message_class::system, 1).message());
}

void Dongle::getAddress(PayloadReader)
{
  send(MessageWriter::response(message_class::system, 2).bytes(dongleAddress).message());
}

void Dongle::getConnections(PayloadReader)
{
  const std::weak_ptr<const bool> life = life_;
  send(MessageWriter::response(message_class::system, 6).u8(maxConnections).message());
  for (std::uint8_t number = 0; number < maxConnections && !life.expired(); ++number) {
    const auto found = connections_.find(number);
    if (found == connections_.end()) {
      send(connectionStatus(number));
    } else {
      const auto connection = found->second;
      connection->reportStatus();
    }
  }
}

void Dongle::getInfo(PayloadReader)
{
  if (faults.silentAt.contains(Step::getInfo)) return;
  send(withVersions(MessageWriter::response(message_class::system, 8)));
}

void Dongle::setBondableMode(PayloadReader)
{
  send(MessageWriter::response(message_class::sm, 1).message());
}

void Dongle::disconnect(PayloadReader payload)
{
  if (const auto connection = connectionOf(payload.u8(), message_class::connection, 0))
    connection->disconnect();
}

void Dongle::updateConnection(PayloadReader payload)
{
  const auto connection = connectionOf(payload.u8(), message_class::connection, 2);
  if (!connection) return;
  const std::uint16_t intervalMin = payload.u16();
  const std::uint16_t intervalMax = payload.u16();
  const std::uint16_t latency = payload.u16();
  connection->update(ConnectionParameters::shortest(intervalMin, intervalMax, payload.u16(), latency));
}

void Dongle::getRssi(PayloadReader payload)
{
  constexpr std::uint8_t notAvailable = 127;
  const std::uint8_t number = payload.u8();
  const auto found = connections_.find(number);
  const auto rssi = found == connections_.end()
                        ? notAvailable
                        : static_cast<std::uint8_t>(found->second->glove().config.rssi);
  send(MessageWriter::response(message_class::connection, 1).u8(number).u8(rssi).message());
}

void Dongle::exchangeVersions(PayloadReader payload)
{
  if (const auto connection = connectionOf(payload.u8(), message_class::connection, 3))
    connection->exchangeVersions();
}

void Dongle::writeCommand(PayloadReader payload)
{
  const auto connection = connectionOf(payload.u8(), message_class::attclient, 6);
  if (!connection) return;
  const std::uint16_t attribute = payload.u16();
  connection->writeCommand(attribute, payload.array());
}

std::shared_ptr<Connection> Dongle::connectionOf(std::uint8_t number, std::uint8_t group, std::uint8_t id)
{
  const auto found = connections_.find(number);
  if (found != connections_.end()) return found->second;
  send(MessageWriter::response(group, id).u8(number).u16(result::notConnected).message());
  return nullptr;
}

Glove* Dongle::gloveAt(const Address& address, std::uint8_t addressType)
{
  if (addressType != publicAddress) return nullptr;
  const auto found = std::ranges::find_if(
      gloves_, [&](const std::unique_ptr<Glove>& glove) { return glove->config.address == address; });
  return found == gloves_.end() ? nullptr : found->get();
}

}  // namespace simulator
