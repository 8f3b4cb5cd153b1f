// Who may see and change what. A page of somebody else in the browser of a person who may is the danger: it
// can send requests here, under a name that it makes the browser look up as this computer's address, too. So
// the host must be one of the server's own, requests from other pages are refused, changes need a token that
// only the server's own page can read, and from other computers everything needs one that was printed.
// Threads: any, by const functions. No sockets. Throws only std::bad_alloc.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "host/live/Request.h"

// 128 random bits in hexadecimal digits. Throws std::system_error if the system has none.
std::string randomToken();

class Access {
 public:
  struct Listening {
    std::string address;  // a number or a name; empty: the loopback address
    std::uint16_t port = 0;
    bool isAny = false;  // all addresses of this computer: "0.0.0.0", "::"
  };
  struct Tokens {
    std::string page;    // for changes
    std::string access;  // for everything; empty: not needed
  };
  enum class Verdict {
    allowed,
    ambiguous,      // a header that decides is there twice, or there is no host
    foreignHost,    // addressed to a name that is not the server's
    foreignOrigin,  // from a page of somebody else
    noToken,        // the access token is missing or wrong
    noPageToken,    // it would change something without the page's
  };

  Access(const Listening& listening, Tokens tokens);

  Verdict verdict(const Request& request) const;
  // Has the access token in its address, which should not stay there.
  bool hasTokenInTarget(const Request& request) const;

  // With which a browser has access from then on: the value of Set-Cookie.
  std::string cookie() const;
  const std::string& pageToken() const { return tokens_.page; }

 private:
  bool isOwnHost(std::string_view host) const;
  bool hasAccess(const Request& request) const;

  std::string address_;  // as in an address of the web: IPv6 in brackets
  std::string port_;     // ":8484"
  std::string cookieName_;
  bool isAny_;
  Tokens tokens_;
};
