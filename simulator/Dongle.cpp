#include "simulator/Dongle.h"

#include <algorithm>
#include <chrono>
#include <string_view>
#include <utility>

namespace simulator {

namespace {

using std::chrono::milliseconds;

constexpr std::uint8_t maxConnections = 3;
constexpr std::uint8_t lastDiscoverMode = 2;
constexpr Duration advertisingInterval = milliseconds{100};
constexpr Duration connectTime = milliseconds{8};

// So that gloves drift against each other.
Duration advertisingIntervalOf(std::size_t glove)
{
  return advertisingInterval + milliseconds{glove % 4 * 3};
}

std::vector<std::uint8_t> advertisingData(std::string_view name)
{
  // Keeps the payload of ble_evt_gap_scan_response within 255 bytes.
  constexpr std::size_t maxNameLength = 239;
  constexpr std::array<std::uint8_t, 1> generallyDiscoverable{6};
  name = name.substr(0, maxNameLength);
  std::vector<std::uint8_t> data;
  appendStructure(data, ad_type::flags, generallyDiscoverable);
  appendStructure(data, ad_type::completeName, std::vector<std::uint8_t>(name.begin(), name.end()));
  return data;
}

// The dongle uses the shortest interval allowed. An empty range yields an invalid interval.
ConnectionParameters connectionParameters(std::uint16_t intervalMin, std::uint16_t intervalMax,
                                          std::uint16_t timeout, std::uint16_t latency)
{
  return {intervalMin <= intervalMax ? intervalMin : std::uint16_t{0}, timeout, latency};
}

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

const Dongle::CommandRow* Dongle::findCommand(const Command& command)
{
  static constexpr std::array<CommandRow, 9> rows{{
      {message_class::system, 0, 1, false, &Dongle::reset},
      {message_class::system, 8, 0, false, &Dongle::getInfo},
      {message_class::connection, 0, 1, false, &Dongle::disconnect},
      {message_class::connection, 2, 9, false, &Dongle::updateConnection},
      {message_class::attclient, 4, 3, false, &Dongle::readByHandle},
      {message_class::attclient, 5, 4, true, &Dongle::writeAttribute},
      {message_class::gap, 2, 1, false, &Dongle::discover},
      {message_class::gap, 3, 15, false, &Dongle::connectDirect},
      {message_class::gap, 4, 0, false, &Dongle::endProcedure},
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

void Dongle::getInfo(PayloadReader)
{
  if (faults.silentAt.contains(Step::getInfo)) return;
  send(withVersions(MessageWriter::response(message_class::system, 8)));
}

void Dongle::discover(PayloadReader payload)
{
  if (faults.silentAt.contains(Step::discover)) return;
  std::uint16_t outcome = result::success;
  if (faults.refusedDiscoveries > 0) {
    --faults.refusedDiscoveries;
    outcome = result::wrongState;
  } else if (payload.u8() > lastDiscoverMode) {
    outcome = result::invalidParameter;
  } else if (gapProcedure_) {
    outcome = result::wrongState;
  } else {
    gapProcedure_ = std::make_shared<const bool>(true);
    neighbours.beginScan();
    for (std::size_t glove = 0; glove < gloves_.size(); ++glove) {
      listenTo(glove, firstAdvertisement(glove));
    }
  }
  send(MessageWriter::response(message_class::gap, 2).u16(outcome).message());
}

void Dongle::connectDirect(PayloadReader payload)
{
  const Address address = payload.address();
  const std::uint8_t addressType = payload.u8();
  const std::uint16_t intervalMin = payload.u16();
  const std::uint16_t intervalMax = payload.u16();
  const std::uint16_t timeout = payload.u16();
  const auto parameters = connectionParameters(intervalMin, intervalMax, timeout, payload.u16());

  const Glove* glove = gloveAt(address);
  if (glove && glove->faults.silentAt.contains(Step::connectResponse)) return;

  const std::uint8_t number = freeConnection();
  std::uint16_t outcome = result::success;
  if (addressType != publicAddress || !parameters.areValid()) {
    outcome = result::invalidParameter;
  } else if (faults.refusesConnect || gapProcedure_) {
    outcome = result::wrongState;
  } else if (number == maxConnections) {
    outcome = result::outOfMemory;
  } else {
    gapProcedure_ = std::make_shared<const bool>(true);
    pendingConnect_ = {address, number, parameters};
    lookForGlove(connectTime);
  }
  send(MessageWriter::response(message_class::gap, 3)
           .u16(outcome)
           .u8(outcome == result::success ? number : std::uint8_t{0})
           .message());
}

void Dongle::endProcedure(PayloadReader)
{
  const bool isRefused = faults.refusesEndProcedure || !gapProcedure_;
  if (!isRefused) endGapProcedure();
  if (faults.silentAt.contains(Step::endProcedure)) return;
  send(MessageWriter::response(message_class::gap, 4)
           .u16(isRefused ? result::wrongState : result::success)
           .message());
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
  connection->update(connectionParameters(intervalMin, intervalMax, payload.u16(), latency));
}

void Dongle::readByHandle(PayloadReader payload)
{
  const auto connection = connectionOf(payload.u8(), message_class::attclient, 4);
  if (connection) connection->readByHandle(payload.u16());
}

void Dongle::writeAttribute(PayloadReader payload)
{
  const auto connection = connectionOf(payload.u8(), message_class::attclient, 5);
  if (!connection) return;
  const std::uint16_t attribute = payload.u16();
  connection->writeAttribute(attribute, payload.array());
}

std::shared_ptr<Connection> Dongle::connectionOf(std::uint8_t number, std::uint8_t group, std::uint8_t id)
{
  const auto found = connections_.find(number);
  if (found != connections_.end()) return found->second;
  send(MessageWriter::response(group, id).u8(number).u16(result::notConnected).message());
  return nullptr;
}

void Dongle::endGapProcedure()
{
  gapProcedure_.reset();
  pendingConnect_.reset();
  neighbours.endScan();
}

void Dongle::listenTo(std::size_t index, Duration delay)
{
  clock_.after(delay, [this, index, scan = std::weak_ptr<const bool>(gapProcedure_)] {
    if (scan.expired()) return;
    listenTo(index, advertisingIntervalOf(index));
    const Glove& glove = *gloves_[index];
    if (!glove.advertises()) return;
    sendScanResponse({.rssi = glove.config.rssi,
                      .address = glove.config.address,
                      .data = advertisingData(glove.config.name)});
  });
}

// Gloves alone advertise in the order in which they were added.
Duration Dongle::firstAdvertisement(std::size_t index)
{
  if (neighbours.count() > 0) return neighbours.randomDelay(advertisingIntervalOf(index));
  return milliseconds{4 + 7 * index};
}

void Dongle::sendScanResponse(const ScanReport& report)
{
  send(MessageWriter::event(message_class::gap, 0)
           .u8(static_cast<std::uint8_t>(report.rssi))
           .u8(static_cast<std::uint8_t>(report.kind))
           .bytes(report.address)
           .u8(report.addressType)
           .u8(noBonding)
           .array(report.data)
           .message());
}

void Dongle::lookForGlove(Duration delay)
{
  clock_.after(delay, [this, connect = std::weak_ptr<const bool>(gapProcedure_)] {
    if (connect.expired()) return;
    Glove* glove = gloveAt(pendingConnect_->address);
    if (!glove || !glove->advertises() || glove->refusesConnections()) {
      lookForGlove(advertisingInterval);
      return;
    }
    const std::uint8_t number = pendingConnect_->connection;
    Radio& radio = *this;  // a private base, which make_shared can't access
    const auto connection =
        std::make_shared<Connection>(clock_, radio, *glove, number, pendingConnect_->parameters);
    endGapProcedure();
    connections_.emplace(number, connection);
    connection->establish();
  });
}

std::uint8_t Dongle::freeConnection() const
{
  std::uint8_t number = 0;
  while (number < maxConnections && connections_.contains(number)) {
    ++number;
  }
  return number;
}

Glove* Dongle::gloveAt(const Address& address)
{
  const auto found = std::ranges::find_if(
      gloves_, [&](const std::unique_ptr<Glove>& glove) { return glove->config.address == address; });
  return found == gloves_.end() ? nullptr : found->get();
}

}  // namespace simulator
