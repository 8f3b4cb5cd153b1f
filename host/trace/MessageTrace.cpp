#include "host/trace/MessageTrace.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>

#include "host/trace/Attributes.h"
#include "host/trace/FieldText.h"

namespace {

using Json = nlohmann::ordered_json;
using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t headerSize = 4;
constexpr std::uint8_t eventBit = 0x80;
constexpr std::uint8_t lengthBits = 0x07;

struct KindName {
  std::string_view word;  // in lines
  std::string_view name;  // in JSON
};
constexpr std::array<KindName, 3> kindNames{{{"cmd", "command"}, {"rsp", "response"}, {"evt", "event"}}};

constexpr KindName nameOf(MessageKind kind)
{
  return kindNames[static_cast<std::size_t>(kind)];
}

MessageKind kindOf(bool isReceived, std::uint8_t type)
{
  if (!isReceived) return MessageKind::command;
  return (type & eventBit) != 0 ? MessageKind::event : MessageKind::response;
}

// "gap 9" for a message without a row in the table.
std::string messageName(MessageKind kind, std::uint8_t group, std::uint8_t id)
{
  if (const auto format = messageFormat(kind, group, id)) return std::string(format->name);
  const std::string_view name = messageClassName(group);
  return name.empty() ? fmt::format("class {} number {}", group, id) : fmt::format("{} {}", name, id);
}

// What is unusual about a header.
std::vector<std::string> headerRemarks(MessageKind kind, std::uint8_t type, std::uint8_t group,
                                       std::uint8_t id)
{
  std::vector<std::string> remarks;
  if (!isPublished(kind, group, id)) remarks.emplace_back("NOT IN THE PROTOCOL");
  if (kind == MessageKind::command && (type & eventBit) != 0) remarks.emplace_back("EVENT BIT SET");
  if ((type & lengthBits) != 0) {
    remarks.push_back(
        fmt::format("LENGTH OVER 255: high bits {}, not read by the plug-in", type & lengthBits));
  }
  const unsigned reserved = type & ~unsigned{eventBit | lengthBits};
  if (reserved != 0) remarks.push_back(fmt::format("RESERVED BITS 0x{:02X}", reserved));
  return remarks;
}

std::string bytesOf(const Message& message)
{
  std::string text = hexText(
      std::array{message.type, static_cast<std::uint8_t>(message.payload.size()), message.group, message.id});
  if (!message.payload.empty()) text.append(" ").append(hexText(message.payload));
  return text;
}

constexpr std::string_view arrow(bool isReceived)
{
  return isReceived ? "<" : ">";
}

}  // namespace

void MessageTrace::add(const CaptureBlock& block, const TraceMoment& moment, bool hasTime)
{
  using Kind = CaptureBlock::Kind;
  gloves_.add(block);
  if (block.kind == Kind::section) endUnfinished("the capture goes on with another section");
  moment_ = moment;
  if (!hasTime) printRemark("damage", "the time of this entry can't be right", Json::object());
  switch (block.kind) {
    case Kind::section:
      printRemark("section", fmt::format("section: the plug-in was loaded at {}", wallText(moment.wall)),
                  {{"wall", wallText(moment.wall)}, {"comment", block.text}});
      break;
    case Kind::received:
    case Kind::sent:
      addCall(block);
      break;
    case Kind::note:
      endUnfinished(received_, block.text);
      if (block.text != "purge") endUnfinished(sent_, block.text);
      printRemark("note", block.text, {{"text", block.text}});
      break;
  }
}

void MessageTrace::addCall(const CaptureBlock& block)
{
  hasCalls_ = true;
  const bool isReceived = block.kind == CaptureBlock::Kind::received;
  Stream& stream = isReceived ? received_ : sent_;
  const bool isWhole = block.text != "incomplete";
  if (isWhole && stream.reader.isGivenUp(block.bytes)) {
    endUnfinished(stream, isReceived ? "nothing more came in time" : "the rest could not be written");
  }
  stream.reader.add(block.bytes);
  while (const auto message = stream.reader.next()) {
    printMessage(stream, *message);
  }
  if (isWhole) return;
  endUnfinished(stream, isReceived
                            ? "the read ended early, and the plug-in dropped them"
                            : "the write failed or was stopped; the dongle takes what follows for the rest");
}

void MessageTrace::printMessage(const Stream& stream, const Message& message)
{
  const MessageKind kind = kindOf(stream.isReceived, message.type);
  const auto format = messageFormat(kind, message.group, message.id);
  const Payload payload(format ? format->fields : std::span<const FieldFormat>(), message.payload);
  if (!isWanted(payload) || !output_.includes(moment_)) return;

  const FieldContext context{kind, payload, gloves_};
  const auto remarks = headerRemarks(kind, message.type, message.group, message.id);
  const std::string name = messageName(kind, message.group, message.id);
  if (output_.isJson()) {
    Json json{{"dir", stream.isReceived ? "in" : "out"},
              {"kind", nameOf(kind).name},
              {"name", format ? Json(name) : Json()},
              {"class", message.group},
              {"id", message.id}};
    if (format) json["fields"] = fieldsJson(context);
    if (!remarks.empty()) json["remarks"] = remarks;
    json["bytes"] = bytesOf(message);
    output_.printObject(moment_, json);
    return;
  }
  std::string text = fmt::format("{} {} {:<29}", arrow(stream.isReceived), nameOf(kind).word, name);
  if (format) {
    text += fieldsText(context);
  } else {
    text += message.payload.empty() ? "  no payload" : "  payload " + hexText(message.payload);
  }
  for (const std::string& remark : remarks) {
    text.append("  ").append(remark);
  }
  if (showsBytes_) text.append("  [").append(bytesOf(message)).append("]");
  output_.printLine(moment_, text);
}

void MessageTrace::endUnfinished(Stream& stream, std::string_view reason)
{
  const Bytes rest = stream.reader.rest();
  if (rest.empty()) return;
  const bool hasHeader = rest.size() >= headerSize;
  const std::string name =
      hasHeader ? fmt::format("{} {}", nameOf(kindOf(stream.isReceived, rest[0])).word,
                              messageName(kindOf(stream.isReceived, rest[0]), rest[2], rest[3]))
                : "a header";
  const std::size_t whole = headerSize + (hasHeader ? rest[1] : 0U);
  if (output_.isJson()) {
    output_.printObject(moment_, {{"dir", stream.isReceived ? "in" : "out"},
                                  {"kind", "unfinished"},
                                  {"of", name},
                                  {"size", whole},
                                  {"reason", reason},
                                  {"bytes", hexText(rest)}});
  } else {
    output_.printLine(moment_,
                      fmt::format("{} NO MESSAGE: {} of {} bytes of {} ({}): {}", arrow(stream.isReceived),
                                  rest.size(), whole, name, reason, hexText(rest)));
  }
  stream.reader.clear();
}

void MessageTrace::endUnfinished(std::string_view reason)
{
  endUnfinished(received_, reason);
  endUnfinished(sent_, reason);
}

void MessageTrace::addSkipped(std::uint64_t bytes, const TraceMoment& moment)
{
  moment_ = moment;
  endUnfinished("bytes of the capture are missing");
  printRemark("skipped", fmt::format("DAMAGE: {} bytes of the file are no capture, and were skipped", bytes),
              {{"size", bytes}});
}

void MessageTrace::end(std::size_t unfinishedBytes, const TraceMoment& moment)
{
  moment_ = moment;
  endUnfinished("the capture ends");
  if (unfinishedBytes > 0) {
    printRemark("cut", fmt::format("THE CAPTURE IS CUT: {} bytes of an entry are left over", unfinishedBytes),
                {{"size", unfinishedBytes}});
  }
  if (!hasCalls_) printRemark("empty", "the capture is empty: no bytes crossed the port", Json::object());
}

void MessageTrace::printRemark(std::string_view kind, std::string_view text, const Json& details)
{
  if (!output_.isJson()) {
    output_.printLine(moment_, fmt::format("- {}", text));
    return;
  }
  Json json{{"kind", kind}};
  json.update(details);
  output_.printObject(moment_, json);
}

bool MessageTrace::isWanted(const Payload& payload) const
{
  if (!filter_.isSet()) return true;
  if (const FieldValue* const field = payload.find(FieldType::connection)) {
    const auto connection = static_cast<std::size_t>(field->number);
    return filter_.connection ? connection == *filter_.connection : gloves_.side(connection) == filter_.side;
  }
  // Before there is a connection.
  const FieldValue* const address = payload.find(FieldType::address);
  return address != nullptr && !filter_.side.empty() && gloves_.side(address->bytes) == filter_.side;
}
