#include "shared/Folder.h"

#include <fstream>
#include <memory>

#include "shared/Assertion.h"
#include "shared/System.h"

namespace folder {

namespace {

bool canBeRead(const std::wstring& path)
{
  std::ifstream probe;
  return os::openStream(probe, path, std::ios_base::in);
}

}  // namespace

FolderMap* folders_ = nullptr;

Folder::Folder(const std::wstring& path)
{
  if (path == L"..") return;
  path_ = path;
  ensure();
}

void Folder::ensure() const
{
  if (!canBeRead(path_)) os::makeFolder(path_);
}

void Folder::enter(const std::wstring& name)
{
  path_ += name + L'\\';
  ensure();
}

void Folder::parent()
{
  if (!path_.empty()) path_.pop_back();
  const std::size_t separator = path_.find_last_of(L'\\');
  path_.resize(separator == std::wstring::npos ? 0 : separator + 1);
}

void Folder::removeFile(const std::wstring& fileName) const
{
  os::deleteFile(fullPath(fileName));
}

bool Folder::hasFile(const std::wstring& fileName) const
{
  return canBeRead(fullPath(fileName));
}

std::size_t Folder::listFiles(std::vector<std::wstring>& names) const
{
  names.clear();
  return names.size();
}

std::size_t Folder::listFolders(std::vector<std::wstring>& names) const
{
  return listFiles(names);
}

FolderMap& folders()
{
  static std::unique_ptr<FolderMap> owned;
  if (folders_ == nullptr) {
    owned = std::make_unique<FolderMap>();
    folders_ = owned.get();
  }
  checkAssertion(nullptr != folders_, L"0 != folders_", L"..\\shared\\Folder", 23, L"folder::folders");
  return *folders_;
}

}  // namespace folder
