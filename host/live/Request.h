// A request as it arrived: nothing in it is trusted. Refers to bytes of the connection, which outlive it.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

// Whether two texts of ASCII differ only in the case of their letters.
bool equalIgnoringCase(std::string_view a, std::string_view b);

struct Request {
  struct Header {
    std::string_view name;
    std::string_view value;
  };

  std::string_view method;  // "GET"
  std::string_view target;  // "/api/state?token=0123"
  std::vector<Header> headers;
  std::string_view body;
  bool isKeptAlive = true;  // the connection is, after the answer

  // The part of the target before the question mark, as it was sent: nothing is decoded.
  std::string_view path() const;
  // The value of a parameter of the target, the first one if there are several.
  std::optional<std::string_view> parameter(std::string_view name) const;
  // The value of a header, the first one if there are several.
  std::optional<std::string_view> header(std::string_view name) const;
  bool hasSeveral(std::string_view name) const;
};
