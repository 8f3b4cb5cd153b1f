// The functions that read recordings.

#include "library/Block.h"
#include "library/Boundary.h"
#include "library/HandleTable.h"
#include "library/OpenRecording.h"
#include "library/include/tessel.h"

namespace {

using library::guarded;
using library::OpenRecording;

// Never destroyed, because other threads may still read while the process ends.
library::HandleTable<OpenRecording>& recordings()
{
  static auto* const table = new library::HandleTable<OpenRecording>(library::recordingHandles);
  return *table;
}

library::Error notOpen()
{
  return {TESSEL_ERROR_HANDLE, "no recording is open with this handle.",
          "Open one with tessel_open_recording(), and close it after its last use."};
}

std::shared_ptr<OpenRecording> find(tessel_recording handle)
{
  auto recording = recordings().find(handle);
  if (!recording) throw notOpen();
  return recording;
}

}  // namespace

tessel_status tessel_open_recording(const char* path, tessel_recording* recording) noexcept
{
  return guarded([&] {
    if (recording == nullptr) throw library::nullArgument("`recording`");
    *recording = 0;
    *recording = recordings().add(std::make_shared<OpenRecording>(library::pathArgument(path, "`path`")));
    return TESSEL_OK;
  });
}

tessel_status tessel_recording_shape(tessel_recording recording, tessel_shape* shape) noexcept
{
  return guarded([&] {
    const auto opened = find(recording);
    library::fill(shape,
                  {.size = 0,
                   .gloves = static_cast<std::uint32_t>(opened->gloves()),
                   .elements = static_cast<std::uint32_t>(opened->elements())},
                  sizeof(tessel_shape));
    return TESSEL_OK;
  });
}

tessel_status tessel_read_recording(tessel_recording recording, tessel_block* block) noexcept
{
  return guarded([&] {
    const auto opened = find(recording);
    library::checkBlock(block, opened->gloves(), opened->elements());
    return opened->read(*block) ? TESSEL_OK : TESSEL_END;
  });
}

tessel_status tessel_describe_recording(tessel_recording recording, char* text, size_t size,
                                        size_t* needed) noexcept
{
  return guarded([&] { return library::copyText(find(recording)->describe(), text, size, needed); });
}

tessel_status tessel_close_recording(tessel_recording recording) noexcept
{
  return guarded([&] {
    if (!recordings().remove(recording)) throw notOpen();
    return TESSEL_OK;
  });
}
