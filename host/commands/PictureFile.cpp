#include "host/commands/PictureFile.h"

#include <fmt/format.h>

#include <array>
#include <cstdint>
#include <string>
#include <system_error>
#include <utility>

#include "host/base/Failure.h"
#include "host/base/InputFile.h"
#include "host/base/OutputFile.h"
#include "host/base/PartFile.h"
#include "host/base/Text.h"
#include "host/commands/CommandLine.h"
#include "host/plot/Render.h"

namespace fs = std::filesystem;

namespace {

struct FormatName {
  const char* extension;
  PictureFormat format;
};
constexpr std::array<FormatName, 3> formats{
    {{".svg", PictureFormat::svg}, {".png", PictureFormat::png}, {".pdf", PictureFormat::pdf}}};

PictureFormat formatOf(const fs::path& path)
{
  if (path.empty()) {
    throw Failure(ExitCode::usage, "--output takes the name of an .svg, .png or .pdf file, not ''.",
                  "Omit it for an SVG file named by default.");
  }
  if (isStandardOutput(path)) return PictureFormat::svg;
  for (const auto& [extension, format] : formats) {
    if (hasExtension(path, extension)) return format;
  }
  const auto named = [&](const char* extension) { return utf8(fs::path(path).replace_extension(extension)); };
  throw Failure(ExitCode::usage,
                fmt::format("{} can't be written: pictures are SVG, PNG or PDF files.", utf8(path)),
                fmt::format("Use --output {}, {} or {}.", named(".svg"), named(".png"), named(".pdf")));
}

}  // namespace

void addPictureFileOptions(CLI::App& command, PictureFileOptions& options, const std::string& source)
{
  using namespace command_line;
  addText(
      command, "--output,-o", "FILE|-", [&options](const std::string& name) { options.output = name; },
      "Output .svg, .png or .pdf file, or - for SVG on standard output; by default an .svg file named "
      "after " +
          source)
      .completeFiles({"svg", "png", "pdf"});
  addNumber(
      command, "--dpi", "NUMBER [96]", {.lowest = 30, .highest = 1200},
      [&options](double dpi) { options.dpi = dpi; }, "Pixels per inch of a .png file");
  addFlag(command, "--force", options.overwrites, "Replace an existing output file");
}

PictureFile::PictureFile(const PictureFileOptions& options, fs::path byDefault, std::string_view mark)
    : options_(options),
      path_(options.output ? fs::path(*options.output) : std::move(byDefault)),
      format_(formatOf(path_)),
      mark_(mark)
{
  if (!options.dpi || format_ == PictureFormat::png) return;
  throw Failure(ExitCode::usage, "--dpi is for PNG files: SVG and PDF have no resolution.",
                "Omit it, or use --output with the name of a .png file.");
}

std::string PictureFile::converted(const std::string& svg) const
{
  switch (format_) {
    case PictureFormat::svg:
      break;
    case PictureFormat::png:
      return renderPng(svg, options_.dpi.value_or(svgDpi));
    case PictureFormat::pdf:
      return renderPdf(svg);
  }
  return svg;
}

bool PictureFile::isReplaceable() const
{
  if (options_.overwrites) return true;
  std::error_code error;
  if (options_.output || !fs::is_regular_file(path_, error)) return false;
  std::array<std::uint8_t, 200> bytes{};
  const std::size_t count = host::InputFile(path_).read(bytes);
  return std::string(bytes.begin(), bytes.begin() + count).find(mark_) != std::string::npos;
}

void PictureFile::write(const std::string& svg, const fs::path& source) const
{
  std::error_code error;
  if (fs::equivalent(path_, source, error)) {
    throw Failure(ExitCode::output, fmt::format("{} is what the picture is drawn from.", utf8(path_)),
                  "Choose another name.");
  }
  const std::string picture = converted(svg);
  PartFile output(path_, PartFile::Kind::file, isReplaceable());
  OutputFile file(output.growing());
  file.append(picture);
  file.close();
  output.settle();
}
