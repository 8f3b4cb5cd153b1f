#include "host/recording/RecordWriter.h"

#include "host/recording/CsvWriter.h"
#include "host/recording/NpyWriter.h"
#include "host/recording/XdfWriter.h"

std::unique_ptr<RecordWriter> makeRecordWriter(RecordFormat format, const std::filesystem::path& place,
                                               const RecordingMetadata& metadata)
{
  switch (format) {
    case RecordFormat::csv:
      return std::make_unique<CsvWriter>(place, metadata.layout);
    case RecordFormat::npy:
      return std::make_unique<NpyWriter>(place, metadata.layout);
    case RecordFormat::xdf:
      return std::make_unique<XdfWriter>(place, metadata);
  }
  return nullptr;
}
