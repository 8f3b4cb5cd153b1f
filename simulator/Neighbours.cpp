#include "simulator/Neighbours.h"

#include <array>
#include <chrono>
#include <string>
#include <string_view>
#include <utility>

#include "simulator/WordReader.h"

namespace simulator {

namespace {

using std::chrono::milliseconds;

// By which Bluetooth lengthens each interval at random, so that two devices don't collide for long.
constexpr Duration maxAdvertisingDelay = milliseconds{10};

constexpr int strongestRssi = -40;
constexpr int weakestRssi = -95;
constexpr int rssiVariation = 4;

// By the highest bits of an address. A public one is administered locally, since others belong to a maker.
enum class AddressKind : std::uint8_t {
  publicLocal = 0x02,
  nonResolvable = 0x00,
  resolvable = 0x40,
  staticRandom = 0xC0,
};

// What a kind of device puts into its 31 bytes; 0 and empty: nothing.
struct Kind {
  AdvertisementKind advertisement;
  AddressKind address;
  std::uint8_t flags = 0;
  bool hasTxPower = false;
  std::uint16_t service = 0;  // UUID of 16 bits
  bool hasOwnService = false;
  std::size_t manufacturerBytes = 0;
  std::size_t serviceBytes = 0;
  std::string_view shortenedName = {};
  std::string_view name = {};  // completed by the number of the device
  std::string_view nameInResponse = {};
};

constexpr std::uint8_t limited = ad_flags::limited | ad_flags::lowEnergyOnly;
constexpr std::uint8_t general = ad_flags::general | ad_flags::lowEnergyOnly;
constexpr std::uint8_t dualMode = ad_flags::general | ad_flags::dualMode;
constexpr std::uint16_t heartRate = 0x180D;
constexpr std::uint16_t battery = 0x180F;
constexpr std::uint16_t environment = 0x181A;

using enum AdvertisementKind;
using enum AddressKind;

constexpr std::array<Kind, 8> kinds{{
    // phone
    {.advertisement = connectable,
     .address = resolvable,
     .flags = dualMode,
     .hasTxPower = true,
     .manufacturerBytes = 7},
    // beacon
    {.advertisement = nonConnectable, .address = staticRandom, .flags = general, .manufacturerBytes = 23},
    // watch
    {.advertisement = connectable,
     .address = resolvable,
     .flags = general,
     .service = heartRate,
     .manufacturerBytes = 9,
     .nameInResponse = "Watch "},
    // headphones
    {.advertisement = connectable,
     .address = publicLocal,
     .flags = limited,
     .hasTxPower = true,
     .service = battery,
     .shortenedName = "Headph",
     .nameInResponse = "Headphones "},
    // lamp
    {.advertisement = connectable,
     .address = staticRandom,
     .flags = general,
     .hasOwnService = true,
     .nameInResponse = "Lamp "},
    // phone that only broadcasts
    {.advertisement = nonConnectable, .address = nonResolvable, .flags = dualMode, .manufacturerBytes = 20},
    // TV
    {.advertisement = connectable,
     .address = publicLocal,
     .flags = dualMode,
     .manufacturerBytes = 6,
     .name = "TV room "},
    // thermometer
    {.advertisement = scannable,
     .address = staticRandom,
     .flags = general,
     .service = environment,
     .serviceBytes = 8,
     .nameInResponse = "Thermometer "},
}};

std::vector<std::uint8_t> bytesOf(std::string_view text)
{
  return {text.begin(), text.end()};
}

std::vector<std::uint8_t> withNumber(std::uint16_t number, const std::vector<std::uint8_t>& bytes)
{
  std::vector<std::uint8_t> joined;
  appendU16(joined, number);
  for (const std::uint8_t byte : bytes) {
    joined.push_back(byte);
  }
  return joined;
}

}  // namespace

Neighbours::Neighbours(VirtualClock& clock, std::function<void(const ScanReport&)> report)
    : clock_(clock), report_(std::move(report))
{
}

void Neighbours::replace(std::size_t count, double perSecond, std::uint64_t seed)
{
  random_.seed(seed);
  perSecond_ = perSecond;
  devices_.clear();
  for (std::size_t number = 0; number < count; ++number) {
    devices_.push_back(makeDevice(number));
  }
  if (scan_) beginScan();
}

void Neighbours::beginScan()
{
  scan_ = std::make_shared<const bool>(true);
  for (std::size_t index = 0; index < devices_.size(); ++index) {
    advertise(index, randomDelay(intervalOf(devices_[index]) + maxAdvertisingDelay / 2));
  }
}

Duration Neighbours::randomDelay(Duration longest)
{
  return Duration{std::uniform_int_distribution<Duration::rep>(0, longest.count())(random_)};
}

Neighbours::Device Neighbours::makeDevice(std::size_t number)
{
  constexpr std::uint16_t testManufacturer = 0xFFFF;  // assigned to no maker
  constexpr std::size_t ownServiceSize = 16;
  const Kind& kind = kinds[number % kinds.size()];
  const bool isPublic = kind.address == publicLocal;
  Device device{.kind = kind.advertisement,
                .address = makeAddress(static_cast<std::uint8_t>(kind.address)),
                .addressType = isPublic ? publicAddress : randomAddress,
                .flags = kind.flags,
                .rssi = randomBetween(weakestRssi + rssiVariation, strongestRssi - rssiVariation),
                .data = {},
                .response = {}};
  const auto add = [&data = device.data](std::uint8_t type, const std::vector<std::uint8_t>& value) {
    appendStructure(data, type, value);
  };
  const auto named = [number](std::string_view name) { return bytesOf(toText(name, number + 1)); };
  add(ad_type::flags, {kind.flags});
  if (kind.hasTxPower) add(ad_type::txPower, {static_cast<std::uint8_t>(randomBetween(0, 12))});
  if (kind.serviceBytes > 0) {
    add(ad_type::serviceData, withNumber(kind.service, randomBytes(kind.serviceBytes)));
  } else if (kind.service != 0) {
    add(ad_type::services16, withNumber(kind.service, {}));
  }
  if (kind.hasOwnService) add(ad_type::services128, randomBytes(ownServiceSize));
  if (kind.manufacturerBytes > 0)
    add(ad_type::manufacturerData, withNumber(testManufacturer, randomBytes(kind.manufacturerBytes)));
  if (!kind.shortenedName.empty()) add(ad_type::shortenedName, bytesOf(kind.shortenedName));
  if (!kind.name.empty()) add(ad_type::completeName, named(kind.name));
  if (!kind.nameInResponse.empty())
    appendStructure(device.response, ad_type::completeName, named(kind.nameInResponse));
  return device;
}

Address Neighbours::makeAddress(std::uint8_t highestBits)
{
  constexpr std::uint8_t otherBits = 0x3C;  // of the byte with the highest bits
  Address address{};
  for (std::uint8_t& byte : address) {
    byte = static_cast<std::uint8_t>(randomBetween(0, 0xFF));
  }
  address.back() = static_cast<std::uint8_t>(highestBits | (address.back() & otherBits));
  return address;
}

std::vector<std::uint8_t> Neighbours::randomBytes(std::size_t count)
{
  std::vector<std::uint8_t> bytes(count);
  for (std::uint8_t& byte : bytes) {
    byte = static_cast<std::uint8_t>(randomBetween(0, 0xFF));
  }
  return bytes;
}

int Neighbours::randomBetween(int lowest, int highest)
{
  return std::uniform_int_distribution<>(lowest, highest)(random_);
}

// Without the random delay.
Duration Neighbours::intervalOf(const Device& device) const
{
  const std::chrono::duration<double> average((device.response.empty() ? 1 : 2) / perSecond_);
  return std::chrono::round<Duration>(average) - maxAdvertisingDelay / 2;
}

void Neighbours::advertise(std::size_t index, Duration delay)
{
  clock_.after(delay, [this, index, scan = std::weak_ptr<const bool>(scan_)] {
    if (scan.expired()) return;
    const Device& device = devices_[index];
    advertise(index, intervalOf(device) + randomDelay(maxAdvertisingDelay));
    report(device, device.kind, device.data);
    if (!device.response.empty() && !scan.expired()) report(device, scanResponse, device.response);
  });
}

void Neighbours::report(const Device& device, AdvertisementKind kind, const std::vector<std::uint8_t>& data)
{
  const int rssi = device.rssi + randomBetween(-rssiVariation, rssiVariation);
  report_({.rssi = static_cast<std::int8_t>(rssi),
           .kind = kind,
           .address = device.address,
           .addressType = device.addressType,
           .flags = device.flags,
           .data = data});
}

}  // namespace simulator
