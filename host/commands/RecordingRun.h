// Records gloves from their opening to the summary, for every command that does.
#pragma once

#include <functional>
#include <memory>

#include "host/commands/RecordingOptions.h"
#include "host/recording/RecordingFiles.h"

// Returns null if the records go to no file. Called before the gloves are opened, so that an output that
// can't be written is reported at once.
using FilesMaker = std::function<std::unique_ptr<RecordingFiles>()>;

// Throws the Failure that ended the recording early, after its summary.
void runRecording(const RecordingOptions& options, const FilesMaker& makeFiles);
