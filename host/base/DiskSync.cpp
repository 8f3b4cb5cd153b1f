#include "host/base/DiskSync.h"

#include <exception>
#include <utility>

#include "host/base/System.h"

DiskSync::DiskSync(const std::vector<std::filesystem::path>& files,
                   const std::vector<std::filesystem::path>& folders, const SyncRules& rules)
    : interval_(rules.interval)
{
  // They stay open: a handle that is opened after a failed write need not know of it.
  for (const std::filesystem::path& path : files) {
    files_.push_back({path, rules.disk->open(path)});
  }
  for (const std::filesystem::path& path : folders) {
    newFolders_.push_back({path, rules.disk->open(path)});
  }
  thread_ = host::threadWithoutSignals([this] { run(); });
}

DiskSync::~DiskSync()
{
  end();
}

void DiskSync::keepUp(Time now, std::function<void()> action)
{
  if (!action && next_ && now < *next_) return;
  next_ = now + interval_;
  {
    const std::lock_guard guard(mutex_);
    if (action) action_.swap(action);
    isRequested_ = true;
  }
  wake_.notify_one();
}

std::optional<Failure> DiskSync::failure() const
{
  if (!hasFailed_) return std::nullopt;
  const std::lock_guard guard(mutex_);
  return notStored(failed_, error_);
}

void DiskSync::end()
{
  if (!thread_.joinable()) return;
  {
    const std::lock_guard guard(mutex_);
    isOver_ = true;
  }
  wake_.notify_one();
  thread_.join();
  // On Windows an open file can't be renamed.
  files_.clear();
  newFolders_.clear();
}

void DiskSync::run()
{
  std::unique_lock guard(mutex_);
  for (;;) {
    wake_.wait(guard, [this] { return isRequested_ || isOver_; });
    if (isOver_) return;
    isRequested_ = false;
    const std::function<void()> action = std::exchange(action_, nullptr);
    guard.unlock();
    try {
      if (action) action();
    } catch (const std::exception&) {
      // It is tried again, or reported by whoever completes the files.
    }
    sync(files_);
    sync(newFolders_);
    newFolders_.clear();
    guard.lock();
  }
}

void DiskSync::sync(std::vector<File>& files)
{
  for (File& file : files) {
    if (isOver_) return;
    const std::error_code error = file.handle->sync();
    if (!error || hasFailed_) continue;
    const std::lock_guard guard(mutex_);
    error_ = error;
    failed_.swap(file.path);
    hasFailed_ = true;
  }
}
