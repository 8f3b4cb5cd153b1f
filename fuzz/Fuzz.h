// What the fuzz targets share: the input as fields, checks, and a folder for code that needs files. Each
// target is a program with one function LLVMFuzzerTestOneInput; an input is a finding if a check fails, a
// sanitizer reports, an exception leaves the function, or it takes too long. Input that ends early is zeros.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/Hex.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

inline void require(bool holds, const char* what)
{
  if (holds) return;
  std::fprintf(stderr, "FINDING: it does not hold that %s\n", what);
  std::abort();
}

class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : rest_(data, size) {}

  bool atEnd() const { return rest_.empty(); }
  std::uint8_t byte() { return atEnd() ? std::uint8_t{0} : take(1)[0]; }
  std::uint16_t word()
  {
    const unsigned low = byte();
    return static_cast<std::uint16_t>(low | unsigned{byte()} << 8);
  }
  std::size_t below(std::size_t bound) { return byte() % bound; }
  template <class Item, std::size_t count>
  const Item& oneOf(const Item (&items)[count])
  {
    return items[below(count)];
  }

  // At most so many bytes.
  std::span<const std::uint8_t> take(std::size_t size)
  {
    const auto taken = rest_.first(std::min(size, rest_.size()));
    rest_ = rest_.subspan(taken.size());
    return taken;
  }
  std::string_view text(std::size_t size)
  {
    const auto taken = take(size);
    return {reinterpret_cast<const char*>(taken.data()), taken.size()};
  }
  std::string_view rest() { return text(rest_.size()); }
  // Up to the separator, which is skipped.
  std::string_view part(std::string_view separator)
  {
    const std::string_view all{reinterpret_cast<const char*>(rest_.data()), rest_.size()};
    const std::size_t end = all.find(separator);
    if (end == std::string_view::npos) return rest();
    const std::string_view part = text(end);
    take(separator.size());
    return part;
  }

 private:
  std::span<const std::uint8_t> rest_;
};

// Of this process, where TMPDIR says. libFuzzer ends without deleting it, so scripts/fuzz does.
inline const std::filesystem::path& scratchFolder()
{
  static const struct Scratch {
    Scratch()
    {
      std::string name = (std::filesystem::temp_directory_path() / "tessel-fuzz-XXXXXX").string();
      require(::mkdtemp(name.data()) != nullptr, "there is a temporary folder");
      path = name;
    }
    ~Scratch()
    {
      std::error_code ignored;
      std::filesystem::remove_all(path, ignored);
    }
    std::filesystem::path path;
  } scratch;
  return scratch.path;
}

inline std::filesystem::path writeFile(const std::string& name, std::string_view content)
{
  const std::filesystem::path path = scratchFolder() / name;
  std::FILE* const file = std::fopen(path.c_str(), "wb");
  require(file != nullptr, "a file of the target can be written");
  std::fwrite(content.data(), 1, content.size(), file);
  std::fclose(file);
  return path;
}

// No terminal gets a control character from it.
inline bool isOneLine(std::string_view text)
{
  return std::ranges::none_of(text, [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; });
}

}  // namespace fuzz
