#include "host/trace/FieldText.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "bgapi/ErrorName.h"
#include "host/trace/Attributes.h"

namespace {

struct Name {
  std::int64_t number;
  std::string_view name;
};

constexpr std::array addressTypes{Name{0, "public"}, Name{1, "random"}};
constexpr std::array bondings{Name{0xFF, "none"}};
constexpr std::array valueTypes{
    Name{0, "read"},         Name{1, "notification"},        Name{2, "indication"},
    Name{3, "read by type"}, Name{4, "part of a long read"}, Name{5, "indication, to be confirmed"}};
constexpr std::array packetTypes{Name{0, "connectable"}, Name{2, "not connectable"}, Name{4, "scan response"},
                                 Name{6, "discoverable"}};
constexpr std::array discoverModes{Name{0, "limited"}, Name{1, "generic"}, Name{2, "observation"}};
constexpr std::array discoverables{Name{0, "not discoverable"}, Name{1, "limited"},
                                   Name{2, "general"},          Name{3, "broadcast"},
                                   Name{4, "user data"},        Name{0x80, "enhanced broadcasting"}};
constexpr std::array connectables{Name{0, "not connectable"}, Name{1, "directed"}, Name{2, "undirected"},
                                  Name{3, "scannable"}};
constexpr std::array<std::string_view, 4> connectionFlagNames{"connected", "encrypted", "completed",
                                                              "parameters changed"};

std::string_view nameIn(std::span<const Name> names, std::int64_t number)
{
  const auto name = std::ranges::find(names, number, &Name::number);
  return name == names.end() ? std::string_view() : name->name;
}

std::string connectionFlagsText(std::int64_t flags)
{
  std::string text;
  for (std::size_t bit = 0; bit < connectionFlagNames.size(); ++bit) {
    if ((flags >> bit & 1) == 0) continue;
    text.append(text.empty() ? "" : ", ").append(connectionFlagNames[bit]);
  }
  return text;
}

// "not connected"
std::string resultText(std::int64_t code)
{
  std::string_view name = ble_error_name(static_cast<std::uint16_t>(code));
  for (const std::string_view prefix : {"bt_bt_error_", "bt_", "smp_", "att_"}) {
    if (!name.starts_with(prefix)) continue;
    name.remove_prefix(prefix.size());
    break;
  }
  std::string text(name);
  std::ranges::replace(text, '_', ' ');
  return text;
}

// Of a number in its unit.
struct Unit {
  double factor;
  std::string_view name;
};

Unit unitOf(FieldType type)
{
  switch (type) {
    case FieldType::signalStrength:
      return {1, "dBm"};
    case FieldType::connectionInterval:
      return {1.25, "ms"};
    case FieldType::scanInterval:
      return {0.625, "ms"};
    case FieldType::timeout:
      return {10, "ms"};
    default:
      return {1, {}};
  }
}

std::string valueMeaning(const FieldValue& field, const FieldContext& context)
{
  const FieldValue* const handle = context.payload.find(FieldType::handle);
  if (handle == nullptr) return {};
  const auto attribute = static_cast<std::uint16_t>(handle->number);
  return context.kind == MessageKind::command ? writtenValueText(attribute, field.bytes)
                                              : receivedValueText(attribute, field.bytes);
}

// What a field stands for; empty if it only is its number or bytes.
std::string meaning(const FieldValue& field, const FieldContext& context)
{
  switch (field.format.type) {
    case FieldType::connection:
      return std::string(context.gloves.side(static_cast<std::size_t>(field.number)));
    case FieldType::addressType:
      return std::string(nameIn(addressTypes, field.number));
    case FieldType::bonding:
      return std::string(nameIn(bondings, field.number));
    case FieldType::connectionFlags:
      return connectionFlagsText(field.number);
    case FieldType::valueType:
      return std::string(nameIn(valueTypes, field.number));
    case FieldType::packetType:
      return std::string(nameIn(packetTypes, field.number));
    case FieldType::discoverMode:
      return std::string(nameIn(discoverModes, field.number));
    case FieldType::discoverable:
      return std::string(nameIn(discoverables, field.number));
    case FieldType::connectable:
      return std::string(nameIn(connectables, field.number));
    case FieldType::handle:
      return std::string(attributeName(static_cast<std::uint16_t>(field.number)));
    case FieldType::result:
      return resultText(field.number);
    case FieldType::address:
      return std::string(context.gloves.name(field.bytes));
    case FieldType::uuid:
      return uuidText(field.bytes);
    case FieldType::advertising:
      return advertisingText(field.bytes);
    case FieldType::value:
      return valueMeaning(field, context);
    default:
      return {};
  }
}

std::string numberText(const FieldValue& field)
{
  switch (field.format.type) {
    case FieldType::result:
      return fmt::format("0x{:04X}", field.number);
    case FieldType::flags8:
    case FieldType::connectionFlags:
      return fmt::format("0x{:02X}", field.number);
    default:
      break;
  }
  const Unit unit = unitOf(field.format.type);
  if (unit.name.empty()) return fmt::format("{}", field.number);
  return fmt::format("{:g} {}", static_cast<double>(field.number) * unit.factor, unit.name);
}

bool isCut(const FieldValue& field)
{
  return isArray(field.format.type) && static_cast<std::size_t>(field.number) > field.bytes.size();
}

void appendField(std::string& text, const FieldValue& field, const FieldContext& context)
{
  text.append("  ").append(field.format.name).append("=");
  const std::string known = meaning(field, context);
  if (isArray(field.format.type)) {
    text += known.empty() ? hexText(field.bytes) : known;
    if (isCut(field))
      fmt::format_to(std::back_inserter(text), " (cut: {} of {} bytes)", field.bytes.size(), field.number);
    return;
  }
  text += field.format.type == FieldType::address ? addressText(field.bytes) : numberText(field);
  if (!known.empty()) text.append(" ").append(known);
}

}  // namespace

std::string fieldsText(const FieldContext& context)
{
  std::string text;
  for (const FieldValue& field : context.payload.fields()) {
    appendField(text, field, context);
  }
  for (const FieldFormat& field : context.payload.missing()) {
    text.append("  ").append(field.name).append(" MISSING");
  }
  if (!context.payload.extra().empty()) {
    text.append("  EXTRA BYTES ").append(hexText(context.payload.extra()));
  }
  return text;
}

nlohmann::ordered_json fieldsJson(const FieldContext& context)
{
  nlohmann::ordered_json json = nlohmann::ordered_json::object();
  for (const FieldValue& field : context.payload.fields()) {
    std::string name(field.format.name);
    const FieldType type = field.format.type;
    const Unit unit = unitOf(type);
    if (isArray(type)) {
      json[name] = hexText(field.bytes);
    } else if (type == FieldType::address) {
      json[name] = addressText(field.bytes);
    } else if (unit.factor == 1) {
      json[name] = field.number;
    } else {
      json[name] = static_cast<double>(field.number) * unit.factor;
    }
    if (isCut(field)) json[name + "_announced"] = field.number;
    if (std::string known = meaning(field, context); !known.empty()) json[name + "_text"] = std::move(known);
  }
  for (const FieldFormat& field : context.payload.missing()) {
    json["missing"].push_back(field.name);
  }
  if (!context.payload.extra().empty()) json["extra"] = hexText(context.payload.extra());
  return json;
}
