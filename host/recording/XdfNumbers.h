// Takes numbers from the beginning of untrusted bytes. When they run out, or an expectation fails, all
// further numbers are 0.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

class XdfNumbers {
 public:
  explicit XdfNumbers(std::string_view bytes) : rest_(bytes) {}

  template <class Number>
  Number take()
  {
    Number number{};
    isGood_ = isGood_ && rest_.size() >= sizeof(number);
    if (!isGood_) return number;
    std::memcpy(&number, rest_.data(), sizeof(number));
    rest_.remove_prefix(sizeof(number));
    return number;
  }
  // A length of one, four or eight bytes after their number.
  std::uint64_t takeLength()
  {
    switch (take<std::uint8_t>()) {
      case 1:
        return take<std::uint8_t>();
      case 4:
        return take<std::uint32_t>();
      case 8:
        return take<std::uint64_t>();
      default:
        isGood_ = false;
        return 0;
    }
  }
  void expect(bool condition) { isGood_ = isGood_ && condition; }

  bool isGood() const { return isGood_; }
  std::string_view rest() const { return rest_; }

 private:
  std::string_view rest_;
  bool isGood_ = true;
};
