#include "tests/support/SerialPeer.h"
#include "tests/support/SimulatedPlatform.h"

struct SerialPeer::Impl {
  SimulatedPlatform platform;
  SimulatedPlatform::Port& port = platform.addPort("Bluegiga Bluetooth Low Energy (COM7)");
};

SerialPeer::SerialPeer() : impl_(std::make_unique<Impl>()) {}

SerialPeer::~SerialPeer() = default;

void SerialPeer::send(const Bytes& bytes)
{
  impl_->port.waiting.insert(impl_->port.waiting.end(), bytes.begin(), bytes.end());
}

SerialPeer::Bytes SerialPeer::receive(std::size_t count)
{
  Bytes& written = impl_->port.written;
  const auto end = written.begin() + static_cast<std::ptrdiff_t>(std::min(count, written.size()));
  Bytes bytes(written.begin(), end);
  written.erase(written.begin(), end);
  return bytes;
}

void SerialPeer::after(std::chrono::milliseconds delay, std::function<void()> action)
{
  impl_->platform.clock.after(delay, std::move(action));
}

void SerialPeer::unplug()
{
  impl_->port.present = false;
}

void SerialPeer::plugIn()
{
  impl_->port.present = true;
}

bool SerialPeer::occupy()
{
  return impl_->port.busy = true;
}

void SerialPeer::vacate()
{
  impl_->port.busy = false;
}
