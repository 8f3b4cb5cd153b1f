// Global variables that a settings file can read and write by name.
//
// Each variable has a satellite, a global object that registers itself under the parameter's name when the
// library is loaded:
//   std::int32_t readTimeout = 10000;
//   parameter::Satelite<std::int32_t> readTimeoutSatelite(L"TesselReadTimeout", readTimeout);
//
// A settings file is text: name, tab, value, newline. The reader works on words, not lines: a value may be on
// another line than its name. After a word of one character, or one that begins with "//", the rest of the
// line is skipped. shared/TextFile.h describes the encoding; the number format does not depend on the locale.
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

// One parameter as text. The registry keeps a raw pointer to it while the library is loaded.
class SateliteInterface {
 public:
  virtual std::wstring toString() const = 0;

  // Parses a value into the variable. If that fails, so does the stream.
  virtual std::wistream& fromStream(std::wistream& stream) = 0;

  virtual ~SateliteInterface() = default;

 protected:
  // Not registered.
  SateliteInterface() = default;
  // Registers the object in the module's registry; the last one with a name replaces the others.
  explicit SateliteInterface(const std::wstring& name);
};

// Reads and writes a variable that it does not own. T is std::wstring, double, std::int32_t,
// std::vector<std::int32_t> or bool.
template <class T>
class Satelite final : public SateliteInterface {
 public:
  Satelite(const std::wstring& name, T& variable) : SateliteInterface(name), variable_(&variable) {}
  // For a registry of the caller.
  explicit Satelite(T& variable) : variable_(&variable) {}

  std::wstring toString() const override;
  std::wistream& fromStream(std::wistream& stream) override;

 private:
  T* variable_;
};

using Registry = std::map<std::wstring, SateliteInterface*, Utf16Less>;

// The registry of this module, built on first use. Entries are never removed.
Registry& satelites();

// The satellite with exactly this name, or null.
SateliteInterface* find(const std::wstring& name);

// Reads a settings file: -1 if it does not open, otherwise the result of `readStream`.
std::int32_t readFile(const std::wstring& path);

// Receives what the reader finds in a text, word by word.
class ReadingObserver {
 public:
  // A parameter's name was read; its value follows.
  virtual void name(const std::wstring& name) = 0;
  // A word that is not a name, where a name was expected.
  virtual void unknownName(const std::wstring& word) = 0;
  // The value of the latest name was read; `isGood` is false if it did not parse.
  virtual void value(bool isGood) = 0;

 protected:
  ~ReadingObserver() = default;
};

// Reads all records. Returns the number of records read or, if there was any error, the negative number of
// errors. Reading continues after an error. A parameter that the text does not name keeps its value.
std::int32_t readStream(std::wistream& stream);
// The same into the variables of another registry, for programs that explain a settings file to the user.
std::int32_t readStream(std::wistream& stream, const Registry& registry, ReadingObserver& observer);

// Writes one record and flushes.
std::wostream& writeEntry(const Registry::value_type& entry, std::wostream& stream);

// Writes the records whose names begin with the prefix, in the order of the registry. Returns how many were
// written.
std::uint32_t writeMatching(const std::wstring& prefix, std::wostream& stream);

// The same into a file, which is replaced; 0 if it does not open. Without memory it stays as it is.
std::uint32_t writeFile(const std::wstring& prefix, const std::wstring& path);

// Replaces the file with one record. False if no parameter has this name or the file does not open.
bool writeOne(const std::wstring& name, const std::wstring& path);

// Reads a text value: in double quotes, with spaces and newlines allowed, or else a single word.
std::wistream& readQuoted(std::wistream& stream, std::wstring& text);

// The text without spaces, tabs and newlines at either end.
std::wstring trim(const std::wstring& text);

// The text with each `<name>` replaced by the parameter's value as text, or by "N/A". A value may contain
// references, too; after 1,000 replacements, or a growth of a million characters, the text is returned as it
// is.
std::wstring expand(const std::wstring& text);

}  // namespace parameter
