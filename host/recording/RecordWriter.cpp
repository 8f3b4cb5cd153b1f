#include "host/recording/RecordWriter.h"

#include "host/recording/CsvWriter.h"
#include "host/recording/NpyWriter.h"

std::unique_ptr<RecordWriter> makeRecordWriter(RecordFormat format, const std::filesystem::path& place,
                                               const Layout& layout)
{
  if (format == RecordFormat::csv) return std::make_unique<CsvWriter>(place, layout);
  return std::make_unique<NpyWriter>(place, layout);
}
