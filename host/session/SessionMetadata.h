// Collects the metadata of a recording. Throws only std::bad_alloc and what the plug-in throws.
#pragma once

#include <optional>

#include "host/gloves/Hardware.h"
#include "host/recording/RecordingMetadata.h"
#include "host/session/Recorder.h"

// What is known before the first record. The gloves must be open. `isFollowed`: the link is captured.
RecordingMetadata describe(Hardware& hardware, const Layout& layout, bool isFollowed);

// Adds what the figures show.
void update(RecordingMetadata& metadata, const RecordingFigures& figures);
// With other books than those among the figures, which are of the whole session; empty: unknown.
void update(RecordingMetadata& metadata, const RecordingFigures& figures, const std::optional<Books>& books);
