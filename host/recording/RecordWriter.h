// Where records go: a file of comma-separated values, or a folder of NumPy arrays.
//
// While a recording grows it bears the name that was asked for with ".part" behind it, and gets the name
// itself when it is whole; so a part never passes for a whole, and what a killed program leaves is there all
// the same. Threads: one. Errors: a Failure; the records before the one that failed are kept.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>

#include "host/recording/Layout.h"
#include "host/recording/OutputName.h"

enum class RecordFormat { csv, npy };

class RecordWriter {
 public:
  virtual ~RecordWriter() = default;

  // Hands one record to the system, of as many elements as the layout has.
  virtual void add(std::uint32_t stampMs, std::span<const std::uint16_t> elements) = 0;
  // Brings up to date what tells how much is there. To be called each second or so.
  virtual void refresh() {}
  // Ends the files and gives the recording its name. `ending` says in words why it ended.
  virtual void finish(const std::string& ending) = 0;
  // Takes away what was made, for a recording without any record.
  virtual void discard() = 0;
};

// Makes the file or folder under the name that it bears while it grows. An output that is no regular file, a
// pipe for example, takes csv only.
std::unique_ptr<RecordWriter> makeRecordWriter(RecordFormat format, const OutputName& name,
                                               const Layout& layout);
