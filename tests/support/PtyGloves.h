// A dongle with a left and a right glove on a pseudo terminal, run by a thread of its own, ten times as fast
// as real ones.
#pragma once

#include <array>
#include <atomic>
#include <filesystem>
#include <thread>

#include "simulator/Dongle.h"
#include "simulator/PtyPort.h"

class PtyGloves {
 public:
  // The first element is the frame number; the others depend on element, frame and glove.
  static std::uint16_t movement(unsigned glove, std::size_t element, std::uint64_t frame)
  {
    if (element == 0) return static_cast<std::uint16_t>(frame);
    return static_cast<std::uint16_t>(element * 251 + frame * 7 + std::size_t{glove} * 30011);
  }

  explicit PtyGloves(const std::filesystem::path& path, double speed = 10) : port_(clock_, dongle_, path)
  {
    const std::string port = "Bluegiga Bluetooth Low Energy (COM7)=" + path.string();
    ::setenv("TESSEL_SERIAL_PORTS", port.c_str(), 1);
    for (unsigned glove = 0; glove < 2; ++glove) {
      simulator::GloveConfig config;
      config.name = glove == 0 ? "KVXGL00017" : "KVXGR00018";
      config.batteryCode = 17;
      config.movement = [glove](std::size_t element, std::uint64_t frame) {
        return movement(glove, element, frame);
      };
      gloves_[glove] = &dongle_.addGlove(config);
    }
    thread_ = std::thread([this, speed] { port_.run(stop_, speed); });
  }
  ~PtyGloves() { halt(); }
  PtyGloves(const PtyGloves&) = delete;
  PtyGloves& operator=(const PtyGloves&) = delete;

  // Stops the thread, so that the gloves can be examined.
  const simulator::Glove& halt(std::size_t glove = 0)
  {
    stop_ = true;
    if (thread_.joinable()) thread_.join();
    return *gloves_.at(glove);
  }

 private:
  VirtualClock clock_;
  simulator::Dongle dongle_{clock_};
  simulator::PtyPort port_;
  std::array<simulator::Glove*, 2> gloves_{};
  std::atomic<bool> stop_{false};
  std::thread thread_;
};
