#include "host/base/posix/SystemTree.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

namespace fs = std::filesystem;

namespace {

constexpr std::size_t maxText = std::size_t{1} << 20;
constexpr std::size_t maxLine = 200;
constexpr std::size_t maxNames = 100'000;
constexpr const char* white = " \t\r\n";

}  // namespace

bool SystemTree::exists(const fs::path& path) const
{
  std::error_code ignored;
  return fs::exists(place(path), ignored);
}

std::string SystemTree::text(const fs::path& file) const
{
  // Opening a pipe that has no writer would wait.
  const int descriptor = ::open(place(file).c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (descriptor < 0) return {};
  std::string text;
  struct stat status {};
  if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) {
    constexpr std::size_t step = 4096;  // files of the kernel have no size
    ssize_t count = 1;
    while (count > 0 && text.size() < maxText) {
      const std::size_t begin = text.size();
      text.resize(begin + step);
      count = ::read(descriptor, text.data() + begin, step);
      text.resize(begin + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
  }
  ::close(descriptor);
  return text;
}

std::vector<std::string> SystemTree::lines(const fs::path& file) const
{
  const std::string whole = text(file);
  std::vector<std::string> lines;
  for (std::size_t begin = 0; begin < whole.size();) {
    const std::size_t end = std::min(whole.find('\n', begin), whole.size());
    lines.push_back(whole.substr(begin, end - begin));
    begin = end + 1;
  }
  return lines;
}

std::string SystemTree::line(const fs::path& file) const
{
  std::string line = text(file);
  line.resize(std::min({line.find('\n'), line.size(), maxLine}));
  line.erase(line.find_last_not_of(white) + 1);
  line.erase(0, line.find_first_not_of(white));
  return line;
}

std::vector<std::string> SystemTree::names(const fs::path& folder) const
{
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator entry(place(folder), error), end;
       !error && entry != end && names.size() < maxNames; entry.increment(error)) {
    names.push_back(entry->path().filename());
  }
  std::ranges::sort(names);
  return names;
}

fs::path SystemTree::target(const fs::path& link) const
{
  std::error_code error;
  return fs::read_symlink(place(link), error);
}

fs::path SystemTree::resolved(const fs::path& path) const
{
  std::error_code error;
  const fs::path file = fs::canonical(place(path), error);
  if (error) return path;
  const fs::path root = fs::canonical(root_, error);
  return error ? path : "/" / fs::relative(file, root, error);
}
