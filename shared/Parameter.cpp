#include "shared/Parameter.h"

#include <algorithm>
#include <array>
#include <exception>
#include <fstream>
#include <limits>
#include <sstream>
#include <utility>

#include "shared/MachineText.h"
#include "shared/System.h"
#include "shared/TextFile.h"

namespace parameter {

namespace {

constexpr wchar_t quote = L'"';

// More elements than any settings file holds: a damaged count must not make the host allocate gigabytes.
constexpr std::uint64_t maxElements = 65536;

template <class T>
void print(std::wostream& stream, const T& value)
{
  stream << value;
}

void print(std::wostream& stream, const std::wstring& value)
{
  stream << quote << value << quote;
}

void print(std::wostream& stream, const std::vector<std::int32_t>& value)
{
  stream << std::uint64_t{value.size()};
  for (const std::int32_t element : value) {
    stream << L' ' << element;
  }
}

template <class T>
std::wistream& extract(std::wistream& stream, T& value)
{
  return stream >> value;
}

std::wistream& extract(std::wistream& stream, std::wstring& value)
{
  return readQuoted(stream, value);
}

// A value that does not parse leaves the variable unchanged.
template <class T>
std::wistream& parse(std::wistream& stream, T& value)
{
  T parsed{};
  if (extract(stream, parsed)) value = std::move(parsed);
  return stream;
}

std::wistream& parse(std::wistream& stream, std::vector<std::int32_t>& value)
{
  std::uint64_t count = 0;
  if (!(stream >> count)) count = 0;
  // Intentional: a count that is too large is no error, and the sequence stays unchanged.
  if (count > maxElements) return stream;
  try {
    value.resize(static_cast<std::size_t>(count));
  } catch (const std::exception&) {
    return stream;
  }
  for (std::int32_t& element : value) {
    element = 0;
    parse(stream, element);
  }
  return stream;
}

void dropLine(std::wistream& stream)
{
  stream.ignore(std::numeric_limits<std::streamsize>::max(), L'\n');
}

std::wstring entryText(const Registry::value_type& entry)
{
  return entry.first + L'\t' + entry.second->toString() + L'\n';
}

// A file that is replaced. Once it is open nothing allocates: no lack of memory leaves it incomplete.
class ReplacedFile {
 public:
  explicit ReplacedFile(const std::wstring& path)
  {
    file_.rdbuf()->pubsetbuf(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
    os::openStream(file_, path, std::ios_base::out);
  }
  bool isOpen() const { return file_.is_open(); }
  bool write(const std::string& text) { return static_cast<bool>(file_ << text << std::flush); }

 private:
  std::array<char, 512> buffer_{};
  std::ofstream file_;
};

}  // namespace

SateliteInterface::SateliteInterface(const std::wstring& name)
{
  satelites()[name] = this;
}

template <class T>
std::wstring Satelite<T>::toString() const
{
  std::wostringstream text = machine::writer();
  print(text, *variable_);
  return text.str();
}

template <class T>
std::wistream& Satelite<T>::fromStream(std::wistream& stream)
{
  return parse(stream, *variable_);
}

template class Satelite<std::wstring>;
template class Satelite<double>;
template class Satelite<std::int32_t>;
template class Satelite<std::vector<std::int32_t>>;
template class Satelite<bool>;

Registry& satelites()
{
  static Registry registry;
  return registry;
}

SateliteInterface* find(const std::wstring& name)
{
  const auto entry = satelites().find(name);
  return entry == satelites().end() ? nullptr : entry->second;
}

std::int32_t readFile(const std::wstring& path)
{
  const auto text = textfile::read(path);
  if (!text) return -1;
  std::wistringstream stream(*text);
  machine::throwWithoutMemory(stream);
  return readStream(stream);
}

std::int32_t readStream(std::wistream& stream)
{
  struct : ReadingObserver {
    void name(const std::wstring&) override {}
    void unknownName(const std::wstring&) override {}
    void value(bool) override {}
  } nobody;
  return readStream(stream, satelites(), nobody);
}

std::int32_t readStream(std::wistream& stream, const Registry& registry, ReadingObserver& observer)
{
  // Without a base, 0x10 is read as hexadecimal and 010 as octal.
  stream.unsetf(std::ios_base::basefield);
  stream.imbue(machine::locale());
  std::int32_t read = 0;
  std::int32_t faulty = 0;
  std::wstring word;
  while (stream >> std::ws >> word) {
    word = trim(word);
    if (word.size() < 2 || word.starts_with(L"//")) {
      dropLine(stream);
      continue;
    }
    const auto entry = registry.find(word);
    if (entry == registry.end()) {
      observer.unknownName(word);
      ++faulty;
      continue;
    }
    observer.name(word);
    const bool isGood = static_cast<bool>(entry->second->fromStream(stream));
    observer.value(isGood);
    if (isGood) {
      ++read;
    } else {
      stream.clear();
      ++faulty;
    }
  }
  return faulty == 0 ? read : -faulty;
}

std::wostream& writeEntry(const Registry::value_type& entry, std::wostream& stream)
{
  return stream << entryText(entry) << std::flush;
}

std::uint32_t writeMatching(const std::wstring& prefix, std::wostream& stream)
{
  std::uint32_t written = 0;
  for (const auto& entry : satelites()) {
    if (entry.first.starts_with(prefix) && writeEntry(entry, stream)) ++written;
  }
  return written;
}

std::uint32_t writeFile(const std::wstring& prefix, const std::wstring& path)
{
  std::vector<std::string> texts;
  for (const auto& entry : satelites()) {
    if (entry.first.starts_with(prefix)) texts.push_back(textfile::encode(entryText(entry)));
  }
  ReplacedFile file(path);
  if (!file.isOpen()) return 0;
  const auto written =
      std::ranges::count_if(texts, [&](const std::string& text) { return file.write(text); });
  return static_cast<std::uint32_t>(written);
}

bool writeOne(const std::wstring& name, const std::wstring& path)
{
  const auto entry = satelites().find(name);
  if (entry == satelites().end()) return false;
  const std::string text = textfile::encode(entryText(*entry));
  ReplacedFile file(path);
  if (!file.isOpen()) return false;
  file.write(text);
  return true;
}

std::wistream& readQuoted(std::wistream& stream, std::wstring& text)
{
  stream >> std::ws;
  if (!stream) return stream;
  if (stream.peek() != std::char_traits<wchar_t>::to_int_type(quote)) return stream >> text;
  stream.get();
  return std::getline(stream, text, quote);
}

std::wstring trim(const std::wstring& text)
{
  constexpr const wchar_t* space = L" \t\n\r";
  const std::size_t first = text.find_first_not_of(space);
  if (first == std::wstring::npos) return {};
  return text.substr(first, text.find_last_not_of(space) - first + 1);
}

std::wstring expand(const std::wstring& text)
{
  // A value that refers to itself would be replaced, or grow, without end.
  constexpr int maxReplacements = 1000;
  constexpr std::size_t maxGrowth = 1'000'000;
  std::wstring expanded = text;
  for (int replacements = 0; replacements < maxReplacements; ++replacements) {
    if (expanded.size() > text.size() + maxGrowth) break;
    const std::size_t begin = expanded.find(L'<');
    const std::size_t end = expanded.find(L'>');
    // Intentional: an unmatched closing bracket before the first reference ends all replacing.
    if (begin == std::wstring::npos || end == std::wstring::npos || end < begin) break;
    const SateliteInterface* const satelite = find(expanded.substr(begin + 1, end - begin - 1));
    expanded.replace(begin, end - begin + 1, satelite == nullptr ? L"N/A" : satelite->toString());
  }
  return expanded;
}

}  // namespace parameter
