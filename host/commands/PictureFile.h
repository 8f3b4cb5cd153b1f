// The file of a picture: where a command writes it, and which existing file it may replace.
// Errors: a Failure with ExitCode::usage for a name, with ExitCode::output for writing.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace CLI {
class App;
}

struct PictureFileOptions {
  std::optional<std::string> output;  // none: named after the source
  bool overwrites = false;
  std::optional<double> dpi{};  // of PNG; none: as many pixels as the SVG
};

// Adds --output, --dpi and --force. `options` receives the values and must outlive parsing; `source` is what
// pictures are named after by default: "the recording".
void addPictureFileOptions(CLI::App& command, PictureFileOptions& options, const std::string& source);

// By the extension of the file.
enum class PictureFormat { svg, png, pdf };

class PictureFile {
 public:
  // `byDefault` is its path if the user names none. `mark` is what all pictures of the command have near
  // their beginning: by default such a picture is replaced.
  PictureFile(const PictureFileOptions& options, std::filesystem::path byDefault, std::string_view mark);

  const std::filesystem::path& path() const { return path_; }
  // Fails if the picture would replace its source.
  void write(const std::string& svg, const std::filesystem::path& source) const;

 private:
  bool isReplaceable() const;
  std::string converted(const std::string& svg) const;

  PictureFileOptions options_;
  std::filesystem::path path_;
  PictureFormat format_;
  std::string mark_;
};
