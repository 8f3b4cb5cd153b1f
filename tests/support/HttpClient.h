// A client of a server at the loopback address, which sends and receives what a test wants. Waits for at most
// 20 s.
#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <string>
#include <utility>

// Whether a server listens at this address, "127.0.0.2".
inline bool isServed(const char* address, std::uint16_t port)
{
  sockaddr_in place{};
  place.sin_family = AF_INET;
  place.sin_port = htons(port);
  ::inet_pton(AF_INET, address, &place.sin_addr);
  const int client = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const bool isConnected = ::connect(client, reinterpret_cast<const sockaddr*>(&place), sizeof place) == 0;
  ::close(client);
  return isConnected;
}

// Of "http://127.0.0.1:8484/".
inline std::uint16_t portOf(const std::string& address)
{
  return static_cast<std::uint16_t>(std::stoul(address.substr(address.find(':', 5) + 1)));
}

class HttpClient {
 public:
  // `receiveBytes`: for which the system keeps what the client has not read; 0: as usual.
  explicit HttpClient(std::uint16_t port, int receiveBytes = 0)
      : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)), port_(port)
  {
    const timeval timeout{20, 0};
    ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    if (receiveBytes > 0) {
      ::setsockopt(socket_, SOL_SOCKET, SO_RCVBUF, &receiveBytes, sizeof receiveBytes);
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port_);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  }
  ~HttpClient()
  {
    if (socket_ >= 0) ::close(socket_);
  }
  HttpClient(HttpClient&& other) noexcept
      : socket_(std::exchange(other.socket_, -1)), port_(other.port_), received_(std::move(other.received_))
  {
  }
  HttpClient& operator=(HttpClient&&) = delete;

  // What the server no longer takes, because it has closed the connection, is lost.
  void send(const std::string& bytes) { ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL); }
  std::string request(const std::string& target) const
  {
    return "GET " + target + " HTTP/1.1\r\nHost: localhost:" + std::to_string(port_) + "\r\n\r\n";
  }

  // Up to and including the text; without it, or if it does not come, all up to the end.
  std::string receiveUntil(const std::string& text)
  {
    while (text.empty() || received_.find(text) == std::string::npos) {
      if (!receive()) return std::exchange(received_, {});
    }
    return take(received_.find(text) + text.size());
  }
  std::string receiveAll() { return receiveUntil(""); }

  // The status of the next answer, whose content is in `content`; 0 if none comes.
  int answer()
  {
    const std::string head = receiveUntil("\r\n\r\n");
    if (head.empty()) return 0;
    const auto length = head.find("Content-Length: ");
    const std::size_t size = length == std::string::npos ? 0 : std::stoul(head.substr(length + 16));
    while (received_.size() < size && receive()) {
    }
    content = take(size);
    return std::stoi(head.substr(9, 3));
  }

  std::string content;

 private:
  bool receive()
  {
    std::array<char, 65'536> bytes{};
    const ssize_t count = ::recv(socket_, bytes.data(), bytes.size(), 0);
    EXPECT_TRUE(count >= 0 || errno == ECONNRESET) << "nothing comes";
    if (count <= 0) return false;
    received_.append(bytes.data(), static_cast<std::size_t>(count));
    return true;
  }

  std::string take(std::size_t size)
  {
    std::string taken = received_.substr(0, size);
    received_.erase(0, size);
    return taken;
  }

  int socket_;
  std::uint16_t port_;
  std::string received_;
};
