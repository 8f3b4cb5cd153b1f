// Other Bluetooth devices near the dongle: invented phones, beacons, lamps and the like, which advertise and
// can't be connected to. They are simulated only while the dongle scans; each scan meets them at random
// moments of their advertising intervals. The same seed repeats the same run.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <vector>

#include "simulator/Advertising.h"
#include "simulator/VirtualClock.h"

namespace simulator {

class Neighbours {
 public:
  static constexpr std::uint32_t maxCount = 200;
  static constexpr double minPerSecond = 0.1;
  static constexpr double maxPerSecond = 50;
  // That of a device which advertises every 100 ms, or every 200 ms and answers the scanner's requests.
  static constexpr double usualPerSecond = 20;

  // The clock must outlive it. `report` is called with all that a scan receives, and may end the scan.
  Neighbours(VirtualClock& clock, std::function<void(const ScanReport&)> report);
  Neighbours(const Neighbours&) = delete;
  Neighbours& operator=(const Neighbours&) = delete;

  // Replaces all of them. Each is reported this often on average, its scan responses included.
  void replace(std::size_t count, double perSecond, std::uint64_t seed);
  std::size_t count() const { return devices_.size(); }
  double perSecond() const { return perSecond_; }

  void beginScan();
  void endScan() { scan_.reset(); }
  // Uniformly distributed from 0 to this time: how long the scan waits for a device with this interval.
  Duration randomDelay(Duration longest);

 private:
  struct Device {
    AdvertisementKind kind;
    Address address;
    std::uint8_t addressType;
    std::uint8_t flags;
    int rssi;  // dBm, on average
    std::vector<std::uint8_t> data, response;
  };

  Device makeDevice(std::size_t number);
  Address makeAddress(std::uint8_t highestBits);
  std::vector<std::uint8_t> randomBytes(std::size_t count);
  int randomBetween(int lowest, int highest);
  Duration intervalOf(const Device& device) const;
  void advertise(std::size_t index, Duration delay);
  void report(const Device& device, AdvertisementKind kind, const std::vector<std::uint8_t>& data);

  VirtualClock& clock_;
  const std::function<void(const ScanReport&)> report_;
  std::mt19937_64 random_;
  double perSecond_ = usualPerSecond;
  std::vector<Device> devices_;
  std::shared_ptr<const bool> scan_;  // lifetime of the scheduled advertisements
};

}  // namespace simulator
