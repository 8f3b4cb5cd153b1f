#include "host/session/LinkCapture.h"

#include <exception>

namespace {

constexpr std::size_t tailCapacity = std::size_t{4} << 20;

}  // namespace

LinkCapture::LinkCapture(std::size_t gloves, std::size_t elementsOfGlove, const std::filesystem::path& file,
                         const SyncRules& sync)
    : accounts_(gloves, elementsOfGlove),
      tail_(tailCapacity),
      file_(file.empty() ? nullptr : std::make_unique<CaptureFile>(file, sync)),
      place_(file),
      feed_(scratch_.path())
{
  feed_.start(
      [this](std::span<const std::uint8_t> bytes) {
        hasBegun_ = true;
        if (!file_) tail_.add(bytes);
        accounts_.receive(bytes);
      },
      file_.get());
}

void LinkCapture::endConnection()
{
  std::exception_ptr error;
  try {
    feed_.pause();
  } catch (...) {
    error = std::current_exception();
  }
  accounts_.settle();
  feed_.resume();
  if (error) std::rethrow_exception(error);
}

void LinkCapture::store()
{
  if (file_) file_->store();
}

void LinkCapture::keepAt(const std::filesystem::path& path)
{
  if (file_) return;
  file_ = std::make_unique<CaptureFile>(path);
  place_ = path;
  const std::string bytes = tail_.bytes();
  file_->append({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
  file_->store();
}
