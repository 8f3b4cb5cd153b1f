// HWTessel::sendCommand: the host's lines of text.

#include <algorithm>
#include <array>
#include <sstream>

#include "HWTessel.h"
#include "shared/MachineText.h"

namespace {

// The answer of the latest command that had one, of all objects. Meant so: it is never cleared, and a text
// that matches nothing is answered with it.
std::wstring& commandReply()
{
  static std::wstring reply;
  return reply;
}

std::wstring firstWord(const std::wstring& text)
{
  std::wistringstream stream(text);
  std::wstring word;
  stream >> word;
  return word;
}

// Two delimiters in a row make an empty piece; one at the end makes none.
std::vector<std::wstring> splitText(const std::wstring& text, wchar_t delimiter)
{
  std::vector<std::wstring> pieces;
  std::wistringstream stream(text);
  for (std::wstring piece; std::getline(stream, piece, delimiter);) {
    pieces.push_back(piece);
  }
  return pieces;
}

// Meant so: a text that is no number is no error. It counts as what the stream leaves, 0 or the limit.
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

// The battery level from 0 to 1: eight steps below the top code, 19. Meant so: a code above it reads as
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
  std::wstring (*answer)(const BleDevice& device);
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
  } else if (const auto question = std::ranges::find_if(textCommands, isWord);
             question != textCommands.end()) {
    if (device != nullptr) commandReply() = question->answer(*device);
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
