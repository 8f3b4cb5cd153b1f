// Collects the metadata of a recording. Throws only std::bad_alloc and what the plug-in throws.
#pragma once

#include "host/gloves/Hardware.h"
#include "host/recording/RecordingMetadata.h"
#include "host/session/Recorder.h"

// What is known before the first record. The gloves must be open. `isFollowed`: the link is captured.
RecordingMetadata describe(Hardware& hardware, const Layout& layout, bool isFollowed);

// Adds what the figures show.
void update(RecordingMetadata& metadata, const RecordingFigures& figures);
