// What the plug-in of the tests exports besides the five functions of every plug-in.
#pragma once

class SimulatedPlatform;

extern "C" {

// Call it before anything else; the platform must exist until the plug-in is unloaded.
void usePlatform(SimulatedPlatform* platform);
}
