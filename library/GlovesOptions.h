// The options with which a program opens gloves, from their JSON. Errors: an Error with TESSEL_ERROR_ARGUMENT
// that names the option.
#pragma once

#include <cstddef>
#include <string_view>

#include "host/base/DiskSync.h"
#include "host/recording/OutputName.h"
#include "host/session/GloveRun.h"

namespace library {

struct GlovesOptions {
  RunOptions run;
  std::size_t buffer = 16'384;  // records
};

// `text`: null for none.
GlovesOptions parseGlovesOptions(const char* text);

struct RecordOptions {
  OutputName output;
  bool replaces = false;
  SyncRules sync{.interval = defaultSyncInterval};
};

RecordOptions parseRecordOptions(const char* path, const char* text);

}  // namespace library
