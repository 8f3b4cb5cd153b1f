// The functions of the LSL library (Lab Streaming Layer) that this program uses, by the C interface of
// version 1.10 and later. Threads: as the library allows, any, but one for each outlet and inlet.
#pragma once

#include <cstdint>
#include <filesystem>

namespace lsl {

// Owned by the library.
struct Info;
struct Xml;
struct Outlet;
struct Inlet;
struct Resolver;

enum Format : std::int32_t { formatString = 3, formatInt32 = 4 };
enum Error : std::int32_t { noError = 0, timeoutError = -1 };

struct Library {
  std::filesystem::path file;

  std::int32_t (*libraryVersion)();
  double (*localClock)();
  Info* (*createInfo)(const char* name, const char* type, std::int32_t channels, double rate,
                      std::int32_t format, const char* sourceId);
  void (*destroyInfo)(Info*);
  Xml* (*desc)(Info*);
  Xml* (*appendChild)(Xml*, const char* name);
  Xml* (*appendChildValue)(Xml*, const char* name, const char* value);
  const char* (*sourceId)(Info*);
  const char* (*uid)(Info*);
  std::int32_t (*channelCount)(Info*);

  Outlet* (*createOutlet)(Info*, std::int32_t chunkSize, std::int32_t maxBuffered);
  void (*destroyOutlet)(Outlet*);
  std::int32_t (*haveConsumers)(Outlet*);
  std::int32_t (*pushNumbers)(Outlet*, const std::int32_t* values, double time, std::int32_t isPushedThrough);
  std::int32_t (*pushTexts)(Outlet*, const char** values, double time, std::int32_t isPushedThrough);

  // Looks for streams in the background; each result must be destroyed.
  Resolver* (*createResolver)(const char* property, const char* value, double forgetAfter);
  void (*destroyResolver)(Resolver*);
  std::int32_t (*results)(Resolver*, Info** found, std::uint32_t maxFound);
  Inlet* (*createInlet)(Info*, std::int32_t maxBuffered, std::int32_t chunkSize, std::int32_t recovers);
  void (*destroyInlet)(Inlet*);
  void (*openStream)(Inlet*, double timeout, std::int32_t* error);
  // 0 if there was no sample within the timeout; each text must be destroyed.
  double (*pullTexts)(Inlet*, char** texts, std::int32_t count, double timeout, std::int32_t* error);
  void (*destroyText)(char*);
  double (*timeCorrection)(Inlet*, double timeout, std::int32_t* error);
};

// `wanted`: empty for the one in the program's folder or of the system. A Failure with ExitCode::plugin if
// there is none, or if it is another library.
Library load(const std::filesystem::path& wanted);

}  // namespace lsl
