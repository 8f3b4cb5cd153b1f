// Sets a host's locale that writes twelve thousand and a half as 12.000,5, while the object lives.
#pragma once

#include <locale>
#include <string>

class GroupingLocale {
 public:
  explicit GroupingLocale(const std::locale& base = std::locale())
      : before_(std::locale::global(
            std::locale(std::locale(base, new Punctuation<wchar_t>), new Punctuation<char>)))
  {
  }
  ~GroupingLocale() { std::locale::global(before_); }
  GroupingLocale(const GroupingLocale&) = delete;
  GroupingLocale& operator=(const GroupingLocale&) = delete;

 private:
  template <class Character>
  class Punctuation final : public std::numpunct<Character> {
    Character do_decimal_point() const override { return ','; }
    Character do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };

  std::locale before_;
};
