#include "library/OptionNames.h"

#include <string_view>

namespace library {

namespace {

struct Name {
  std::string_view ofProgram, ofLibrary;
};

constexpr Name names[] = {
    {"tessel record --sim", "open them with \"simulated\": true"},
    {"--gloves 1", "\"gloves\": \"one\""},
    {"--any-glove", "\"anyGlove\""},
    {"--capture", "\"capture\""},
    {"--force", "\"replace\": true"},
    {"--format", "\"format\""},
    {"--layout", "\"layout\""},
    {"--log", "\"log\""},
    {"--output", "the name"},
    {"--plugin", "\"plugin\""},
    {"--settings", "\"settings\""},
};

}  // namespace

std::string withOptionNames(std::string text)
{
  // A command of the simulator, which is an option of the program: "--rate: ..."
  const auto end = text.find_first_of(" :");
  if (text.starts_with("--") && end != std::string::npos && text[end] == ':') {
    text.replace(0, end, "\"simulation\"");
  }
  for (const Name& name : names) {
    for (auto at = text.find(name.ofProgram); at != std::string::npos;
         at = text.find(name.ofProgram, at + name.ofLibrary.size())) {
      text.replace(at, name.ofProgram.size(), name.ofLibrary);
    }
  }
  return text;
}

}  // namespace library
