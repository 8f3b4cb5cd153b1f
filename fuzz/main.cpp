// Runs a target once for each file that is named, or is in a folder that is named: without libFuzzer, for any
// compiler. A finding ends the program as it does there.

#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "fuzz/Fuzz.h"

namespace {

int run(const std::filesystem::path& file)
{
  std::ifstream stream(file, std::ios::binary);
  const std::string input{std::istreambuf_iterator<char>(stream), {}};
  if (!stream.is_open()) {
    std::fprintf(stderr, "%s can't be read\n", file.c_str());
    std::exit(2);
  }
  std::fprintf(stderr, "%s\n", file.c_str());  // what was the last one, if it fails
  // In memory of its own, so that a sanitizer sees where it ends.
  const std::vector<std::uint8_t> bytes(input.begin(), input.end());
  LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
  return 1;
}

}  // namespace

int main(int argc, char** argv)
{
  int inputs = 0;
  for (const std::string argument : std::span(argv, static_cast<std::size_t>(argc)).subspan(1)) {
    if (!std::filesystem::is_directory(argument)) {
      inputs += run(argument);
      continue;
    }
    for (const auto& entry : std::filesystem::directory_iterator(argument)) {
      inputs += run(entry.path());
    }
  }
  if (inputs == 0) std::fprintf(stderr, "there are no inputs\n");
  return inputs == 0 ? 2 : 0;
}
