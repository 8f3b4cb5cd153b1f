// HWTessel::sendCommand: text commands of the host.

#include <algorithm>
#include <array>
#include <sstream>

#include "HWTessel.h"
#include "shared/MachineText.h"

namespace {

// The reply to the latest command that had one, shared by all objects. Intentional: it is never cleared, and
// an unknown command returns it again.
std::wstring& commandReply()
{
  static std::wstring reply;
  return reply;
}

std::wstring firstWord(const std::wstring& text)
{
  std::wistringstream stream(text);
  machine::throwWithoutMemory(stream);
  std::wstring word;
  stream >> word;
  return word;
}

// Two delimiters in a row yield an empty piece; one at the end does not.
std::vector<std::wstring> splitText(const std::wstring& text, wchar_t delimiter)
{
  std::vector<std::wstring> pieces;
  std::wistringstream stream(text);
  machine::throwWithoutMemory(stream);
  for (std::wstring piece; std::getline(stream, piece, delimiter);) {
    pieces.push_back(piece);
  }
  return pieces;
}

// Intentional: a text that is not a number is no error; it counts as the value that the stream stores, 0 or
// the limit.
std::uint16_t toWord(const std::wstring& text)
{
  std::uint16_t number = 0;
  machine::reader(text) >> number;
  return number;
}

std::uint8_t toByte(const std::wstring& text)
{
  return static_cast<std::uint8_t>(toWord(text));
}

// The battery level from 0 to 1 in eight steps below the top code, 19. Intentional: a code above it reads as
// empty.
std::wstring levelText(std::int32_t code)
{
  constexpr std::int32_t fullCode = 19;
  constexpr float step = 0.125F;
  float level = 0.0F;
  if (code >= 0 && code <= fullCode)
    level = std::max(0.0F, 1.0F - static_cast<float>(fullCode - code) * step);
  std::wostringstream text = machine::writer();
  text << static_cast<double>(level);
  return text.str();
}

struct QueuedCommand {
  const wchar_t* word;
  std::uint8_t opcode;
};
constexpr std::array queuedCommands{QueuedCommand{L"AutoTune", 64}, QueuedCommand{L"SequentialScan", 52},
                                    QueuedCommand{L"StopSequential", 53}};

struct TextCommand {
  const wchar_t* word;
  std::wstring (*reply)(const BleDevice& device);
};
constexpr std::array textCommands{
    TextCommand{L"Identify", [](const BleDevice& device) { return device.identity(); }},
    TextCommand{L"GetModuleMap", [](const BleDevice& device) { return device.moduleMapText(); }},
    TextCommand{L"GetFirmwareVersion", [](const BleDevice& device) { return device.versionText(); }}};

constexpr const wchar_t* queued = L"OK";
constexpr const wchar_t* tooFew = L"Not enough parameters";

}  // namespace

bool HWTessel::queueCommand(std::uint8_t opcode, std::span<const std::uint8_t> payload, std::int32_t module)
{
  constexpr std::uint32_t target = 254;
  BleDevice* const device = bleDevice_.load();
  if (device == nullptr) return false;
  device->enqueue(RemoteCommand(opcode, payload, module, target));
  return true;
}

std::int32_t HWTessel::sendCommand(const wchar_t* text, std::wstring& reply)
{
  const std::wstring word = firstWord(text);
  const auto isWord = [&](const auto& command) { return command.word == word; };
  const BleDevice* const device = bleDevice_.load();

  if (word == L"BatteryLevel") {
    commandReply() = levelText(device != nullptr ? device->batteryCode() : 0);
  } else if (const auto command = std::ranges::find_if(queuedCommands, isWord);
             command != queuedCommands.end()) {
    if (queueCommand(command->opcode, {}, 0)) commandReply() = queued;
  } else if (const auto query = std::ranges::find_if(textCommands, isWord); query != textCommands.end()) {
    if (device != nullptr) commandReply() = query->reply(*device);
  } else if (const auto words = splitText(text, L' '); !words.empty() && words[0] == L"SensorSelect") {
    if (words.size() < 2) {
      reply = tooFew;
      return -1;
    }
    const std::uint8_t opcode = words[1] == L"1" ? 177 : words[1] == L"2" ? 178 : 176;
    if (queueCommand(opcode, {}, 0)) commandReply() = queued;
  } else if (const auto fields = splitText(text, L','); !fields.empty() && fields[0] == L"SetSerialNumber") {
    if (fields.size() < 3) {
      reply = tooFew;
      return -1;
    }
    const std::uint16_t serial = toWord(fields[2]);
    const std::array payload{static_cast<std::uint8_t>(serial), static_cast<std::uint8_t>(serial >> 8)};
    if (queueCommand(114, payload, toByte(fields[1]))) commandReply() = queued;
  }

  if (commandReply().empty()) return -1;
  reply = commandReply();
  return 0;
}
