// Serves the far end of a serial port to tests that run under Wine, which has no pseudo terminals of its own:
//   serial-peer LINK
// LINK is the path that Wine uses as the port, such as PREFIX/dosdevices/com7. Prints the number of its TCP
// port and accepts one connection after the other, each with a separate peer. Requests and replies are lines.

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <sstream>

#include "tests/support/Hex.h"
#include "tests/support/SerialPeer.h"

namespace {

namespace fs = std::filesystem;

void linkTo(const fs::path& link, const fs::path& target)
{
  fs::remove(link);
  fs::create_symlink(target, link);
}

fs::path terminalPath()
{
  const char* const variable = std::getenv("TESSEL_SERIAL_PORTS");
  const std::string entry = variable != nullptr ? variable : "";
  return entry.substr(entry.find('=') + 1);
}

// Wine keeps the terminal's mode, which is initially canonical. Raw mode lasts while it is open anywhere.
int openRaw(const fs::path& terminal)
{
  const int descriptor = ::open(terminal.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  termios settings{};
  ::tcgetattr(descriptor, &settings);
  ::cfmakeraw(&settings);
  ::tcsetattr(descriptor, TCSANOW, &settings);
  return descriptor;
}

std::string answer(SerialPeer& peer, const fs::path& link, const std::string& request)
{
  std::istringstream words(request);
  std::string verb;
  words >> verb;
  if (verb == "send") {
    std::string bytes;
    std::getline(words, bytes);
    peer.send(hex(bytes));
  } else if (verb == "receive") {
    std::size_t count = 0;
    words >> count;
    return toHex(peer.receive(count));
  } else if (verb == "unplug") {
    peer.unplug();
  } else if (verb == "plugIn") {
    peer.plugIn();
  } else if (verb == "occupy") {
    linkTo(link, "/");  // Wine lets several programs open a terminal, but none open a folder
  } else if (verb == "vacate") {
    linkTo(link, terminalPath());
  } else {
    return "unknown";
  }
  return "done";
}

void serve(int connection, const fs::path& link)
{
  SerialPeer peer;
  linkTo(link, terminalPath());
  int raw = openRaw(link);
  std::string text;
  char byte = 0;
  while (::read(connection, &byte, 1) == 1) {
    if (byte != '\n') {
      text += byte;
      continue;
    }
    const std::string line = answer(peer, link, text) + "\n";
    if (text == "plugIn") {
      ::close(raw);
      raw = openRaw(link);
    }
    if (::write(connection, line.data(), line.size()) < 0) return;
    text.clear();
  }
  ::close(raw);
}

}  // namespace

int main(int count, char** arguments)
{
  if (count != 2) return 2;
  const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  auto* const any = reinterpret_cast<sockaddr*>(&address);
  if (::bind(listener, any, length) != 0 || ::listen(listener, 1) != 0) return 1;
  ::getsockname(listener, any, &length);
  std::cout << ntohs(address.sin_port) << std::endl;
  for (;;) {
    const int connection = ::accept(listener, nullptr, nullptr);
    if (connection < 0) return 1;
    serve(connection, arguments[1]);
    ::close(connection);
  }
}
