#include "shared/HwInterface.h"

#include <utility>

#include "shared/Log.h"
#include "shared/Parameter.h"

HwInterface::HwInterface(const wchar_t* configFile, ClockFunction clock, const wchar_t* hostText)
    : clock_(clock), hostText_(hostText), configFile_(configFile)
{
}

HwInterface::~HwInterface()
{
  currentLogManager->logQuietly(this, 1, L"Deleting Hardware Interface\n");
  currentLogManager->remove(this);
}

std::int32_t HwInterface::sendCommand(const wchar_t*, std::wstring&)
{
  return -1;
}

std::int32_t HwInterface::getFixedValue()
{
  return fixedValue_;
}

std::int32_t HwInterface::getExecDelay()
{
  return 0;
}

std::int32_t HwInterface::optionalQuery()
{
  return 0;
}

void HwInterface::signalShutdown() {}

std::int32_t HwInterface::configure()
{
  return 0;
}

std::int32_t HwInterface::readRecord()
{
  return 0;
}

std::int32_t HwInterface::optionalOperation()
{
  return -1;
}

std::int32_t HwInterface::close()
{
  return 0;
}

bool HwInterface::saveParameters(const wchar_t* fileName)
{
  const std::wstring oldFile = configFile_;
  if (fileName != nullptr && *fileName != L'\0') configFile_ = fileName;
  syncParameters(oldFile, configFile_);
  return parameter::writeFile(L"", configFile_) > 0;
}

std::int32_t HwInterface::reportError(std::wstring message)
{
  lastError_ = std::move(message);
  currentLogManager->node(this, 1) << L"ERROR: " << lastError_ << L"\n";
  return -1;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): by value, as the binary interface has it
void HwInterface::syncParameters(std::wstring, std::wstring) {}
