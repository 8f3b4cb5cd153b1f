// The functions of the interface for gloves, from tessel_create() to tessel_close().

#include <chrono>

#include "library/Boundary.h"
#include "library/Engine.h"
#include "library/HandleTable.h"
#include "library/Process.h"

namespace {

using namespace library;

// Never destroyed: other threads may use it while the process ends.
HandleTable<Engine>& table()
{
  static auto* const all = new HandleTable<Engine>(glovesHandles);
  return *all;
}

Error noHandle()
{
  return {TESSEL_ERROR_HANDLE, "this is no handle of gloves, or it was closed.",
          "Use a handle from tessel_create() that was not closed."};
}

std::shared_ptr<Engine> find(tessel_gloves gloves)
{
  auto engine = table().find(gloves);
  if (!engine) throw noHandle();
  return engine;
}

void closeAll()
{
  for (const tessel_gloves gloves : table().handles()) {
    tessel_close(gloves);
  }
}

std::string textArgument(const char* text, const char* name)
{
  if (text == nullptr) throw nullArgument(name);
  return text;
}

}  // namespace

extern "C" {

tessel_status tessel_create(const char* options, tessel_gloves* gloves) noexcept
{
  return guarded([&] {
    if (gloves == nullptr) throw nullArgument("gloves");
    const auto closeAtExit = [] { process::atExit(closeAll); };
    *gloves = table().add(std::make_shared<Engine>(parseGlovesOptions(options), closeAtExit));
    return TESSEL_OK;
  });
}

tessel_status tessel_open(tessel_gloves gloves, int32_t timeoutMs) noexcept
{
  return guarded([&] {
    const auto engine = find(gloves);
    engine->start();
    return engine->waitUntilOpen(Engine::Timeout(timeoutMs)) ? TESSEL_OK : TESSEL_TIMEOUT;
  });
}

tessel_status tessel_cancel(tessel_gloves gloves) noexcept
{
  return guarded([&] {
    find(gloves)->cancel();
    return TESSEL_OK;
  });
}

tessel_status tessel_close(tessel_gloves gloves) noexcept
{
  return guarded([&] {
    const auto engine = table().remove(gloves);
    if (!engine) throw noHandle();
    engine->close();
    return TESSEL_OK;
  });
}

tessel_status tessel_get_shape(tessel_gloves gloves, tessel_shape* shape) noexcept
{
  return guarded([&] {
    fill(shape, find(gloves)->shape(), sizeof(tessel_shape));
    return TESSEL_OK;
  });
}

tessel_status tessel_describe(tessel_gloves gloves, char* text, size_t size, size_t* needed) noexcept
{
  return guarded([&] { return copyText(find(gloves)->description(), text, size, needed); });
}

tessel_status tessel_read(tessel_gloves gloves, tessel_block* block, int32_t timeoutMs) noexcept
{
  return guarded([&] { return find(gloves)->read(block, Engine::Timeout(timeoutMs)); });
}

tessel_status tessel_latest(tessel_gloves gloves, tessel_block* block) noexcept
{
  return guarded([&] { return find(gloves)->readLatest(block); });
}

tessel_status tessel_get_statistics(tessel_gloves gloves, tessel_statistics* statistics) noexcept
{
  return guarded([&] {
    fill(statistics, find(gloves)->statistics(), sizeof(tessel_statistics));
    return TESSEL_OK;
  });
}

tessel_status tessel_next_event(tessel_gloves gloves, char* text, size_t size, size_t* needed) noexcept
{
  return guarded([&] {
    const bool isTaken =
        find(gloves)->events().take([&](const std::string& json) { copyText(json, text, size, needed); });
    return isTaken ? TESSEL_OK : TESSEL_TIMEOUT;
  });
}

tessel_status tessel_marker(tessel_gloves gloves, const char* text) noexcept
{
  return guarded([&] {
    find(gloves)->mark(text);
    return TESSEL_OK;
  });
}

tessel_status tessel_record(tessel_gloves gloves, const char* path, const char* options) noexcept
{
  return guarded([&] {
    find(gloves)->record(parseRecordOptions(path, options));
    return TESSEL_OK;
  });
}

tessel_status tessel_stop_recording(tessel_gloves gloves) noexcept
{
  return guarded([&] {
    find(gloves)->stopRecording();
    return TESSEL_OK;
  });
}

tessel_status tessel_send(tessel_gloves gloves, const char* command, char* reply, size_t size,
                          size_t* needed) noexcept
{
  return guarded([&] {
    checkText(reply, size);
    const std::string text = find(gloves)->send(textArgument(command, "command"));
    return copyText(text, reply, size, needed);
  });
}

tessel_status tessel_simulate(tessel_gloves gloves, const char* command, char* reply, size_t size,
                              size_t* needed) noexcept
{
  return guarded([&] {
    checkText(reply, size);
    const std::string text = find(gloves)->simulate(textArgument(command, "command"));
    return copyText(text, reply, size, needed);
  });
}

}  // extern "C"
