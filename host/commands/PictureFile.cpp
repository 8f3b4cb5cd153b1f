#include "host/commands/PictureFile.h"

#include <fmt/format.h>

#include <fstream>
#include <system_error>
#include <utility>

#include "host/base/Failure.h"
#include "host/base/OutputFile.h"
#include "host/base/PartFile.h"
#include "host/base/Text.h"
#include "host/commands/CommandLine.h"

namespace fs = std::filesystem;

namespace {

fs::path chosenPath(const std::string& text)
{
  if (text.empty()) {
    throw Failure(ExitCode::usage, "--output takes the name of an .svg file, not ''.",
                  "Omit it for a file named by default.");
  }
  fs::path path = text;
  if (hasExtension(path, ".svg") || isStandardOutput(path)) return path;
  const auto named = [&](const char* extension) { return utf8(fs::path(path).replace_extension(extension)); };
  throw Failure(ExitCode::usage, fmt::format("{} can't be written: pictures are SVG files.", utf8(path)),
                fmt::format("Use --output {0}; then `rsvg-convert {0} --output {1}` converts it to PNG.",
                            named(".svg"), named(".png")));
}

}  // namespace

void addPictureFileOptions(CLI::App& command, PictureFileOptions& options, const std::string& source)
{
  using namespace command_line;
  completeFiles(
      addText(
          command, "--output,-o", "FILE|-", [&options](const std::string& name) { options.output = name; },
          "Output .svg file, or - for standard output; by default named after " + source),
      {"svg"});
  addFlag(command, "--force", options.overwrites, "Replace an existing output file");
}

PictureFile::PictureFile(const PictureFileOptions& options, fs::path byDefault, std::string_view mark)
    : options_(options),
      path_(options.output ? chosenPath(*options.output) : std::move(byDefault)),
      mark_(mark)
{
}

bool PictureFile::isReplaceable() const
{
  if (options_.overwrites) return true;
  std::error_code error;
  if (options_.output || !fs::is_regular_file(path_, error)) return false;
  std::ifstream file(path_, std::ios::binary);
  std::string start(200, '\0');
  file.read(start.data(), static_cast<std::streamsize>(start.size()));
  return start.find(mark_) != std::string::npos;
}

void PictureFile::write(const std::string& picture, const fs::path& source) const
{
  std::error_code error;
  if (fs::equivalent(path_, source, error)) {
    throw Failure(ExitCode::output, fmt::format("{} is what the picture is drawn from.", utf8(path_)),
                  "Choose another name.");
  }
  PartFile output(path_, PartFile::Kind::file, isReplaceable());
  OutputFile file(output.growing());
  file.append(picture);
  file.close();
  output.settle();
}
