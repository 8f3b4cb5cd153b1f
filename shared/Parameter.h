// Global variables that a settings file can read and write by name.
//
// A variable gets a satellite, a global object that registers itself under the parameter's name while the
// library is being loaded:
//   std::int32_t readTimeout = 10000;
//   parameter::Satelite<std::int32_t> readTimeoutSatelite(L"TesselReadTimeout", readTimeout);
//
// A settings file is text: name, tab, value, newline. The reader takes words, not lines: a value may stand
// on another line than its name. A word of one character, or one that begins with "//", drops the rest of its
// line. Files are decoded and encoded as shared/TextFile.h describes; numbers are the same in every locale.
//
// Threads: one at a time.
// Errors: counts and booleans, see below; throws only std::bad_alloc.
#pragma once

#include <cstdint>
#include <istream>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "shared/Utf16Order.h"

namespace parameter {

// One parameter as text. The registry keeps a plain pointer to it for as long as the library is loaded.
class SateliteInterface {
 public:
  virtual std::wstring toString() const = 0;

  // Parses a value into the variable. A value that does not parse leaves the stream failed.
  virtual std::wistream& fromStream(std::wistream& stream) = 0;

  virtual ~SateliteInterface() = default;

 protected:
  // In no registry.
  SateliteInterface() = default;
  // Enters the object into the module's registry; of two under one name the last one stands.
  explicit SateliteInterface(const std::wstring& name);
};

// Serves a variable that it does not own. T is std::wstring, double, std::int32_t, std::vector<std::int32_t>
// or bool.
template <class T>
class Satelite final : public SateliteInterface {
 public:
  Satelite(const std::wstring& name, T& variable) : SateliteInterface(name), variable_(&variable) {}
  // For a registry of the caller's own.
  explicit Satelite(T& variable) : variable_(&variable) {}

  std::wstring toString() const override;
  std::wistream& fromStream(std::wistream& stream) override;

 private:
  T* variable_;
};

using Registry = std::map<std::wstring, SateliteInterface*, Utf16Less>;

// The registry of this module, built on first use. Entries are never removed.
Registry& satelites();

// The satellite of exactly this name, or null.
SateliteInterface* find(const std::wstring& name);

// Reads a settings file: -1 if it does not open, otherwise as `readStream`.
std::int32_t readFile(const std::wstring& path);

// Is told what the reader makes of a text, word by word.
class ReadingObserver {
 public:
  // A parameter's name was read; its value comes next.
  virtual void name(const std::wstring& name) = 0;
  // A word where a name was looked for.
  virtual void unknownName(const std::wstring& word) = 0;
  // The value of the latest name was read, or was none.
  virtual void value(bool isGood) = 0;

 protected:
  ~ReadingObserver() = default;
};

// Reads all records: the number of those read, or, if there was any fault, the number of faults as a
// negative. A fault does not stop the reading. A parameter that the text does not name keeps its value.
std::int32_t readStream(std::wistream& stream);
// The same into the variables of another registry, for programs that explain a settings file to people.
std::int32_t readStream(std::wistream& stream, const Registry& registry, ReadingObserver& observer);

// Writes one record and flushes.
std::wostream& writeEntry(const Registry::value_type& entry, std::wostream& stream);

// Writes the records whose names begin with the prefix, in the order of the registry. Gives how many were
// written.
std::uint32_t writeMatching(const std::wstring& prefix, std::wostream& stream);

// The same into a file, which is replaced; 0 if it does not open.
std::uint32_t writeFile(const std::wstring& prefix, const std::wstring& path);

// Replaces the file by one record. False if there is no parameter of this name or the file does not open.
bool writeOne(const std::wstring& name, const std::wstring& path);

// Reads a text value: one in double quotes, which may hold blanks and line ends, or else one word.
std::wistream& readQuoted(std::wistream& stream, std::wstring& text);

// The text without blanks, tabs and line ends at either end.
std::wstring trim(const std::wstring& text);

// The text with each `<name>` replaced by the parameter's value as text, or by "N/A". References may nest
// through values; after 1,000 replacements, or grown by a million characters, the text is returned as it then
// stands.
std::wstring expand(const std::wstring& text);

}  // namespace parameter
