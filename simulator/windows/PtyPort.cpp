// Windows has no pseudo terminals, so there is no simulated port.

#include <system_error>

#include "simulator/PtyPort.h"

namespace simulator {

PtyPort::PtyPort(VirtualClock& clock, SerialDevice& device, std::filesystem::path)
    : clock_(clock), device_(device)
{
  throw std::system_error(std::make_error_code(std::errc::not_supported), "no pseudo terminals");
}

PtyPort::~PtyPort() = default;

bool PtyPort::isServed(const std::filesystem::path&)
{
  return false;
}

void PtyPort::run(const std::atomic<bool>&, double) {}

void PtyPort::holdPort(bool) {}

}  // namespace simulator
