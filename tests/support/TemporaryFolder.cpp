#include "tests/support/TemporaryFolder.h"

#include <chrono>
#include <fstream>
#include <iterator>
#include <random>
#include <set>

TemporaryFolder::TemporaryFolder()
{
  std::random_device entropy;
  do {
    path_ = std::filesystem::temp_directory_path() / ("tessel-test-" + std::to_string(entropy()));
  } while (!std::filesystem::create_directory(path_));
}

TemporaryFolder::~TemporaryFolder()
{
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::wstring TemporaryFolder::write(const std::string& name, const std::string& content) const
{
  std::ofstream(path_ / name, std::ios::binary) << content;
  return (path_ / name).wstring();
}

std::string TemporaryFolder::read(const std::string& name) const
{
  std::ifstream file(path_ / name);  // text mode converts newlines
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string TemporaryFolder::list() const
{
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(path_)) {
    names.insert(entry.path().filename().string());
  }
  std::string text;
  for (const std::string& name : names) {
    text += (text.empty() ? "" : " ") + name;
  }
  return text;
}
