// The dongle's scans and connections: the commands of the class gap.

#include <algorithm>
#include <array>
#include <chrono>
#include <string_view>
#include <utility>

#include "simulator/Dongle.h"

namespace simulator {

namespace {

using std::chrono::milliseconds;

constexpr std::uint8_t lastDiscoverMode = 2;
constexpr std::uint8_t lastDiscoverableMode = 4;
constexpr std::uint8_t enhancedBroadcasting = 0x80;  // may be added to it
constexpr std::uint8_t lastConnectableMode = 3;
constexpr std::uint8_t lastAdvertisingPolicy = 3;
constexpr std::uint16_t minScanInterval = 4;  // 0.625 ms
constexpr std::uint16_t maxScanInterval = 0x4000;
constexpr Duration advertisingInterval = milliseconds{100};
constexpr Duration connectTime = milliseconds{8};

constexpr std::uint8_t gloveFlags = ad_flags::general | ad_flags::lowEnergyOnly;

// So that gloves drift against each other.
Duration advertisingIntervalOf(std::size_t glove)
{
  return advertisingInterval + milliseconds{glove % 4 * 3};
}

std::vector<std::uint8_t> advertisingData(std::string_view name)
{
  // Keeps the payload of ble_evt_gap_scan_response within 255 bytes.
  constexpr std::size_t maxNameLength = 239;
  name = name.substr(0, maxNameLength);
  std::vector<std::uint8_t> data;
  appendStructure(data, ad_type::flags, std::array{gloveFlags});
  appendStructure(data, ad_type::completeName, std::vector<std::uint8_t>(name.begin(), name.end()));
  return data;
}

}  // namespace

// Intentional: nobody in range looks for the dongle, so that its own advertising has no effect.
void Dongle::setMode(PayloadReader payload)
{
  const std::uint8_t discoverable = payload.u8() & static_cast<std::uint8_t>(~enhancedBroadcasting);
  const std::uint8_t connectable = payload.u8();
  const bool isValid = discoverable <= lastDiscoverableMode && connectable <= lastConnectableMode;
  send(MessageWriter::response(message_class::gap, 1)
           .u16(isValid ? result::success : result::invalidParameter)
           .message());
}

void Dongle::setFiltering(PayloadReader payload)
{
  const std::uint8_t scanPolicy = payload.u8();
  const std::uint8_t advertisingPolicy = payload.u8();
  const std::uint8_t filtersDuplicates = payload.u8();
  std::uint16_t outcome = result::success;
  if (scanPolicy > 1 || advertisingPolicy > lastAdvertisingPolicy || filtersDuplicates > 1) {
    outcome = result::invalidParameter;
  } else if (gapProcedure_) {
    outcome = result::wrongState;
  } else if (scanPolicy != 0 || advertisingPolicy != 0) {
    outcome = result::notImplemented;  // the white list
  } else {
    scanSettings_.filtersDuplicates = filtersDuplicates != 0;
  }
  send(MessageWriter::response(message_class::gap, 6).u16(outcome).message());
}

void Dongle::setScanParameters(PayloadReader payload)
{
  const std::uint16_t interval = payload.u16();
  const std::uint16_t window = payload.u16();
  const std::uint8_t isActive = payload.u8();
  std::uint16_t outcome = result::success;
  if (interval > maxScanInterval || window < minScanInterval || window > interval || isActive > 1) {
    outcome = result::invalidParameter;
  } else if (gapProcedure_) {
    outcome = result::wrongState;
  } else {
    scanSettings_.isActive = isActive != 0;
  }
  send(MessageWriter::response(message_class::gap, 7).u16(outcome).message());
}

void Dongle::discover(PayloadReader payload)
{
  if (faults.silentAt.contains(Step::discover)) return;
  const std::uint8_t mode = payload.u8();
  std::uint16_t outcome = result::success;
  if (faults.refusedDiscoveries > 0) {
    --faults.refusedDiscoveries;
    outcome = result::wrongState;
  } else if (mode > lastDiscoverMode) {
    outcome = result::invalidParameter;
  } else if (gapProcedure_) {
    outcome = result::wrongState;
  } else {
    gapProcedure_ = std::make_shared<const bool>(true);
    scanSettings_.mode = static_cast<DiscoverMode>(mode);
    reported_.clear();
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
  const auto parameters = ConnectionParameters::shortest(intervalMin, intervalMax, timeout, payload.u16());

  const Glove* glove = gloveAt(address, addressType);
  if (glove && glove->faults.silentAt.contains(Step::connectResponse)) return;

  const std::uint8_t number = freeConnection();
  std::uint16_t outcome = result::success;
  if (addressType > randomAddress || !parameters.areValid()) {
    outcome = result::invalidParameter;
  } else if (faults.refusesConnect || gapProcedure_) {
    outcome = result::wrongState;
  } else if (number == maxConnections) {
    outcome = result::outOfMemory;
  } else {
    gapProcedure_ = std::make_shared<const bool>(true);
    pendingConnect_ = {address, addressType, number, parameters};
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
  if (!isReported(report)) return;
  send(MessageWriter::event(message_class::gap, 0)
           .u8(static_cast<std::uint8_t>(report.rssi))
           .u8(static_cast<std::uint8_t>(report.kind))
           .bytes(report.address)
           .u8(report.addressType)
           .u8(noBonding)
           .array(report.data)
           .message());
}

bool Dongle::isReported(const ScanReport& report)
{
  if (report.kind == AdvertisementKind::scanResponse && !scanSettings_.isActive) return false;
  if (scanSettings_.mode == DiscoverMode::limited && (report.flags & ad_flags::limited) == 0) return false;
  return !scanSettings_.filtersDuplicates ||
         reported_.emplace(report.address, report.addressType, report.kind).second;
}

void Dongle::lookForGlove(Duration delay)
{
  clock_.after(delay, [this, connect = std::weak_ptr<const bool>(gapProcedure_)] {
    if (connect.expired()) return;
    Glove* glove = gloveAt(pendingConnect_->address, pendingConnect_->addressType);
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

}  // namespace simulator
