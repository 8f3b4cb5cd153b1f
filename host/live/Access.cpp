#include "host/live/Access.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <random>
#include <utility>

namespace {

// One of each at most; which of two another program looks at can't be known.
constexpr std::array decidingHeaders{"Host",          "Origin", "Sec-Fetch-Site",
                                     "Authorization", "Cookie", "X-Tessel-Token"};
constexpr std::array loopbackNames{"127.0.0.1", "localhost", "[::1]"};

// In a time that does not depend on how much of it is right.
bool isSecret(std::string_view given, std::string_view secret)
{
  if (given.size() != secret.size() || secret.empty()) return false;
  unsigned difference = 0;
  for (std::size_t i = 0; i < secret.size(); ++i) {
    difference |= static_cast<unsigned char>(given[i] ^ secret[i]);
  }
  return difference == 0;
}

bool consistsOf(std::string_view text, std::string_view characters)
{
  return !text.empty() && text.find_first_not_of(characters) == std::string_view::npos;
}

// Four decimal numbers, which no name of the network can be.
bool isIpv4(std::string_view text)
{
  int parts = 0;
  for (;; ++parts) {
    const std::string_view part = text.substr(0, text.find('.'));
    if (part.size() > 3 || !consistsOf(part, "0123456789")) return false;
    text.remove_prefix(part.size());
    if (text.empty()) break;
    text.remove_prefix(1);
  }
  return parts == 3;
}

// In brackets, which no name of the network can be either.
bool isIpv6(std::string_view text)
{
  return text.size() > 2 && text.front() == '[' && text.back() == ']' &&
         consistsOf(text.substr(1, text.size() - 2), "0123456789abcdefABCDEF:.");
}

bool isRead(const Request& request)
{
  return request.method == "GET" || request.method == "HEAD";
}

std::string_view cookieValue(std::string_view cookies, std::string_view name)
{
  while (!cookies.empty()) {
    const std::string_view cookie = cookies.substr(0, cookies.find(';'));
    cookies.remove_prefix(std::min(cookies.size(), cookie.size() + 1));
    const std::string_view trimmed = cookie.substr(std::min(cookie.size(), cookie.find_first_not_of(' ')));
    const auto equals = trimmed.find('=');
    if (equals != std::string_view::npos && trimmed.substr(0, equals) == name) {
      return trimmed.substr(equals + 1);
    }
  }
  return {};
}

}  // namespace

std::string randomToken()
{
  std::random_device random;
  std::string token;
  for (int word = 0; word < 4; ++word) {
    token += fmt::format("{:08x}", random() & 0xFFFF'FFFFU);
  }
  return token;
}

Access::Access(const Listening& listening, Tokens tokens)
    : address_(listening.address.find(':') == std::string::npos ? listening.address
                                                                : '[' + listening.address + ']'),
      port_(fmt::format(":{}", listening.port)),
      // Cookies are shared by all ports of a host.
      cookieName_(fmt::format("tessel-{}", listening.port)),
      isAny_(listening.isAny),
      tokens_(std::move(tokens))
{
}

Access::Verdict Access::verdict(const Request& request) const
{
  const auto host = request.header("Host");
  if (!host || std::any_of(decidingHeaders.begin(), decidingHeaders.end(),
                           [&request](const char* name) { return request.hasSeveral(name); })) {
    return Verdict::ambiguous;
  }
  if (!isOwnHost(*host)) return Verdict::foreignHost;
  const auto origin = request.header("Origin");
  if (origin && !equalIgnoringCase(*origin, fmt::format("http://{}", *host))) return Verdict::foreignOrigin;
  // A link on another page may lead here, but that page may not fetch what is recorded.
  const auto site = request.header("Sec-Fetch-Site").value_or("none");
  if (request.path().starts_with("/api/") && site != "same-origin" && site != "none") {
    return Verdict::foreignOrigin;
  }
  if (!tokens_.access.empty() && !hasAccess(request)) return Verdict::noToken;
  if (!isRead(request) && !isSecret(request.header("X-Tessel-Token").value_or(""), tokens_.page)) {
    return Verdict::noPageToken;
  }
  return Verdict::allowed;
}

bool Access::hasTokenInTarget(const Request& request) const
{
  return isSecret(request.parameter("token").value_or(""), tokens_.access);
}

std::string Access::cookie() const
{
  return fmt::format("{}={}; Path=/; HttpOnly; SameSite=Strict", cookieName_, tokens_.access);
}

bool Access::isOwnHost(std::string_view host) const
{
  // A browser leaves the usual port of the web out.
  if (host.ends_with(port_)) {
    host.remove_suffix(port_.size());
  } else if (port_ != ":80") {
    return false;
  }
  const auto isHost = [host](std::string_view name) { return equalIgnoringCase(host, name); };
  return (!address_.empty() && isHost(address_)) ||
         std::any_of(loopbackNames.begin(), loopbackNames.end(), isHost) ||
         (isAny_ && (isIpv4(host) || isIpv6(host)));
}

bool Access::hasAccess(const Request& request) const
{
  constexpr std::string_view scheme = "Bearer ";
  const std::string_view authorization = request.header("Authorization").value_or("");
  const bool isBearer = equalIgnoringCase(authorization.substr(0, scheme.size()), scheme);
  return hasTokenInTarget(request) ||
         (isBearer && isSecret(authorization.substr(scheme.size()), tokens_.access)) ||
         isSecret(cookieValue(request.header("Cookie").value_or(""), cookieName_), tokens_.access);
}
