#include "shared/Log.h"

#include <array>
#include <cstdlib>
#include <cwchar>
#include <exception>
#include <memory>

#include "shared/Assertion.h"
#include "shared/Folder.h"
#include "shared/System.h"

namespace {

folder::Folder& logFolder()
{
  return folder::folders()[L"log"];
}

// 16 upper-case hexadecimal digits on every system, so that tools find the file by one pattern.
std::wstring addressText(const void* object)
{
  std::array<wchar_t, 17> text{};
  std::swprintf(text.data(), text.size(), L"%016llX",
                static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(object)));
  return text.data();
}

}  // namespace

LogManager::Node::Node(const LogManager& manager, const std::wstring& fileName, bool keepOpen)
    : level_(1), fileName_(fileName), keepOpen_(keepOpen), systemLevel_(manager.systemLevel_)
{
  if (systemLevel_ < 1) return;
  open();
  if (!stream_.is_open()) throw L"Could not create log file " + fileName_;
  // Item by item, so that only a path that the locale can't narrow is lost.
  *this << L"Log file " << fileName_ << L" created on " << os::dateText() << L" at " << os::timeText()
        << L"\n";
  *this << L"System Logging Level = " << systemLevel_ << L"\n";
}

LogManager::Node::Node(const Node& other)
    : level_(other.level_),
      fileName_(other.fileName_),
      keepOpen_(other.keepOpen_),
      systemLevel_(other.systemLevel_)
{
  if (keepOpen_) ensureOpen();
}

bool LogManager::Node::ensureOpen()
{
  if (systemLevel_ < 1 || fileName_.empty()) return false;
  if (!stream_.is_open()) open();
  return stream_.is_open();
}

void LogManager::Node::close()
{
  try {
    stream_.close();
  } catch (const std::exception&) {
    // A character that can't be narrowed fails the stream here.
    stream_.setstate(std::ios_base::failbit);
  }
}

void LogManager::Node::open()
{
  stream_.imbue(std::locale());
  os::openStream(stream_, fileName_, std::ios_base::out | std::ios_base::app);
}

LogManager::LogManager(std::int32_t systemLevel) : systemLevel_(systemLevel)
{
  const folder::Folder& folder = logFolder();
  for (const std::wstring& name : os::findFiles(folder.path(), L".log")) {
    os::deleteFile(folder.fullPath(name));
  }
}

void LogManager::add(const void* object, const std::wstring& name)
{
  if (nodes_.contains(object)) return;
  const std::wstring fileName = name + L"_" + addressText(object) + L".log";
  nodes_.emplace(object, Node(*this, logFolder().fullPath(fileName), false));
}

void LogManager::logQuietly(const void* object, std::int32_t level, const wchar_t* text) noexcept
{
  try {
    node(object, level) << text;
  } catch (...) {
    // A destructor that logs must not terminate the process.
  }
}

void LogManager::remove(const void* object)
{
  nodes_.erase(object);
}

LogManager* currentLogManager = nullptr;

LogManager* logManager(std::int32_t level)
{
  static std::unique_ptr<LogManager> instance;
  if (level >= 0 && currentLogManager == nullptr) {
    instance = std::make_unique<LogManager>(level);
    currentLogManager = instance.get();
  }
  checkAssertion(nullptr != instance, L"0 != instance.get()", L"..\\shared\\Log", 202, L"logManager");
  return instance.get();
}
