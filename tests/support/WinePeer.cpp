// The far end of a port as seen from Wine: a Linux process, serial-peer, holds the terminal and is controlled
// over the TCP port in the variable TESSEL_PEER. The registry determines whether the device is present.

#include <winsock2.h>
// The registry functions need the types above.
#include <windows.h>

#include <cstdlib>
#include <mutex>
#include <thread>

#include "tests/support/Hex.h"
#include "tests/support/SerialPeer.h"

namespace {

constexpr const char* deviceKey = R"(System\CurrentControlSet\Enum\USB\VID_2458&PID_0001\1)";

void setValue(HKEY key, const char* name, const std::string& value)
{
  RegSetValueExA(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                 static_cast<DWORD>(value.size() + 1));
}

void enterDevice()
{
  HKEY key = nullptr;
  RegCreateKeyExA(HKEY_LOCAL_MACHINE, deviceKey, 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr);
  setValue(key, "Class", "Ports");
  setValue(key, "ClassGUID", "{4D36E978-E325-11CE-BFC1-08002BE10318}");
  setValue(key, "FriendlyName", "Bluegiga Bluetooth Low Energy (COM7)");
  RegCloseKey(key);
}

void removeDevice()
{
  RegDeleteTreeA(HKEY_LOCAL_MACHINE, deviceKey);
}

}  // namespace

struct SerialPeer::Impl {
  std::string ask(const std::string& request)
  {
    const std::lock_guard lock(mutex);
    const std::string line = request + "\n";
    ::send(connection, line.data(), static_cast<int>(line.size()), 0);
    std::string answer;
    for (char byte = 0; ::recv(connection, &byte, 1, 0) == 1 && byte != '\n';) {
      answer += byte;
    }
    return answer;
  }

  SOCKET connection = INVALID_SOCKET;
  std::mutex mutex;
  std::vector<std::jthread> actions;
};

SerialPeer::SerialPeer() : impl_(std::make_unique<Impl>())
{
  WSADATA data{};
  WSAStartup(MAKEWORD(2, 2), &data);
  impl_->connection = ::socket(AF_INET, SOCK_STREAM, 0);
  const char* const port = std::getenv("TESSEL_PEER");
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<u_short>(std::atoi(port != nullptr ? port : "0")));
  ::connect(impl_->connection, reinterpret_cast<sockaddr*>(&address), sizeof address);
  impl_->ask("vacate");  // once it answers, the port is present
  enterDevice();
}

SerialPeer::~SerialPeer()
{
  impl_->actions.clear();
  ::closesocket(impl_->connection);
  WSACleanup();
}

void SerialPeer::send(const Bytes& bytes)
{
  impl_->ask("send " + toHex(bytes));
}

SerialPeer::Bytes SerialPeer::receive(std::size_t count)
{
  return hex(impl_->ask("receive " + std::to_string(count)));
}

void SerialPeer::after(std::chrono::milliseconds delay, std::function<void()> action)
{
  impl_->actions.emplace_back([delay, action = std::move(action)] {
    std::this_thread::sleep_for(delay);
    action();
  });
}

void SerialPeer::unplug()
{
  impl_->ask("unplug");
  removeDevice();
}

void SerialPeer::plugIn()
{
  impl_->ask("plugIn");
  enterDevice();
}

bool SerialPeer::occupy()
{
  return impl_->ask("occupy") == "done";
}

void SerialPeer::vacate()
{
  impl_->ask("vacate");
}
