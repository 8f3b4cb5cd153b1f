#include "host/streaming/LslLibrary.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "host/base/Failure.h"
#include "host/base/System.h"
#include "host/base/Text.h"
#include "host/streaming/LslFile.h"

namespace fs = std::filesystem;

namespace lsl {

namespace {

Failure notLoaded(const std::string& what)
{
  return {ExitCode::plugin, what,
          fmt::format("Get liblsl from the release page of the Lab Streaming Layer project, since "
                      "distributions such as Debian don't have it. Install it, put it into {}, or name its "
                      "file with --lsl-library.",
                      utf8(host::programFolder()))};
}

Failure cannotLoad(const fs::path& file, const std::string& reason)
{
  return notLoaded(fmt::format("the LSL library {} can't be loaded: {}.", utf8(file), reason));
}

void* loadFile(const fs::path& file)
{
  std::string reason;
  void* const library = lsl_file::load(file, reason);
  if (library == nullptr) throw cannotLoad(file, reason);
  return library;
}

void* search(fs::path& file)
{
  for (const std::string& name : lsl_file::names) {
    std::error_code error;
    file = host::programFolder() / name;
    if (fs::is_regular_file(file, error)) return loadFile(file);
  }
  for (const std::string& name : lsl_file::names) {
    std::string reason;
    file = name;
    if (void* const library = lsl_file::loadInstalled(name, reason)) return library;
    if (!reason.empty()) throw cannotLoad(file, reason);
  }
  throw notLoaded(
      fmt::format("the LSL library was not found: no {} in the folder of this program or among "
                  "the system's libraries.",
                  fmt::to_string(fmt::join(lsl_file::names, ", "))));
}

class Functions {
 public:
  Functions(void* library, const fs::path& file) : library_(library), file_(file) {}

  template <class Function>
  void take(const char* name, Function& function) const
  {
    void* const address = lsl_file::find(library_, name);
    if (address == nullptr) {
      throw notLoaded(fmt::format(
          "{} is not the LSL library, or one of another version: it has no function {}.", utf8(file_), name));
    }
    function = reinterpret_cast<Function>(address);
  }

 private:
  void* const library_;
  const fs::path& file_;
};

}  // namespace

Library load(const fs::path& wanted)
{
  Library library{};
  library.file = wanted;
  const Functions functions(wanted.empty() ? search(library.file) : loadFile(wanted), library.file);
  functions.take("lsl_library_version", library.libraryVersion);
  functions.take("lsl_local_clock", library.localClock);
  functions.take("lsl_create_streaminfo", library.createInfo);
  functions.take("lsl_destroy_streaminfo", library.destroyInfo);
  functions.take("lsl_get_desc", library.desc);
  functions.take("lsl_append_child", library.appendChild);
  functions.take("lsl_append_child_value", library.appendChildValue);
  functions.take("lsl_get_source_id", library.sourceId);
  functions.take("lsl_get_uid", library.uid);
  functions.take("lsl_get_channel_count", library.channelCount);
  functions.take("lsl_create_outlet", library.createOutlet);
  functions.take("lsl_destroy_outlet", library.destroyOutlet);
  functions.take("lsl_have_consumers", library.haveConsumers);
  functions.take("lsl_push_sample_itp", library.pushNumbers);
  functions.take("lsl_push_sample_strtp", library.pushTexts);
  functions.take("lsl_create_continuous_resolver_byprop", library.createResolver);
  functions.take("lsl_destroy_continuous_resolver", library.destroyResolver);
  functions.take("lsl_resolver_results", library.results);
  functions.take("lsl_create_inlet", library.createInlet);
  functions.take("lsl_destroy_inlet", library.destroyInlet);
  functions.take("lsl_open_stream", library.openStream);
  functions.take("lsl_pull_sample_str", library.pullTexts);
  functions.take("lsl_destroy_string", library.destroyText);
  functions.take("lsl_time_correction", library.timeCorrection);
  return library;
}

}  // namespace lsl
