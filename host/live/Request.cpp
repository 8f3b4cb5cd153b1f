#include "host/live/Request.h"

#include <algorithm>

namespace {

char lower(char letter)
{
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

}  // namespace

bool equalIgnoringCase(std::string_view a, std::string_view b)
{
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char left, char right) { return lower(left) == lower(right); });
}

std::string_view Request::path() const
{
  return target.substr(0, target.find('?'));
}

std::optional<std::string_view> Request::parameter(std::string_view name) const
{
  std::string_view rest = target.substr(path().size());
  while (!rest.empty()) {
    rest.remove_prefix(1);  // '?' or '&'
    const std::string_view piece = rest.substr(0, rest.find('&'));
    rest.remove_prefix(piece.size());
    const auto equals = piece.find('=');
    if (piece.substr(0, equals) == name) {
      return equals == std::string_view::npos ? std::string_view() : piece.substr(equals + 1);
    }
  }
  return std::nullopt;
}

std::optional<std::string_view> Request::header(std::string_view name) const
{
  const auto found = std::find_if(headers.begin(), headers.end(), [name](const Header& header) {
    return equalIgnoringCase(header.name, name);
  });
  if (found == headers.end()) return std::nullopt;
  return found->value;
}

bool Request::hasSeveral(std::string_view name) const
{
  return std::count_if(headers.begin(), headers.end(),
                       [name](const Header& header) { return equalIgnoringCase(header.name, name); }) > 1;
}
