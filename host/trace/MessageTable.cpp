#include "host/trace/MessageTable.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

using Fields = std::array<FieldFormat, 8>;
using enum FieldType;

struct Event {
  std::uint8_t group;
  std::uint8_t id;
  std::string_view name;
  Fields fields{};
};

// A command and its response have the same class and number.
struct Exchange {
  std::uint8_t group;
  std::uint8_t id;
  std::string_view name;
  Fields command{};
  Fields response{};
};

constexpr FieldFormat connectionField{"connection", connection};
constexpr FieldFormat resultField{"result", result};
constexpr FieldFormat handleField{"atthandle", handle};
constexpr FieldFormat startField{"start", number16};
constexpr FieldFormat endField{"end", number16};
constexpr FieldFormat addressField{"address", address};
constexpr FieldFormat addressTypeField{"address_type", addressType};
constexpr FieldFormat intervalMinField{"conn_interval_min", connectionInterval};
constexpr FieldFormat intervalMaxField{"conn_interval_max", connectionInterval};
constexpr FieldFormat latencyField{"latency", number16};
constexpr FieldFormat timeoutField{"timeout", timeout};

constexpr Fields firmware{
    FieldFormat{"major", number16}, {"minor", number16},           {"patch", number16}, {"build", number16},
    {"ll_version", number16},       {"protocol_version", number8}, {"hw", number8}};
constexpr Fields onlyConnection{connectionField};
constexpr Fields onlyResult{resultField};
constexpr Fields connectionAndResult{connectionField, resultField};
constexpr Fields resultAndConnection{resultField, {"connection", connection}};

constexpr std::array exchanges{
    Exchange{0, 0, "system_reset", {FieldFormat{"boot_in_dfu", number8}}},
    Exchange{0, 1, "system_hello"},
    Exchange{0, 2, "system_address_get", {}, {addressField}},
    Exchange{0,
             5,
             "system_get_counters",
             {},
             {FieldFormat{"txok", number8},
              {"txretry", number8},
              {"rxok", number8},
              {"rxfail", number8},
              {"mbuf", number8}}},
    Exchange{0, 6, "system_get_connections", {}, {FieldFormat{"maxconn", number8}}},
    Exchange{0, 8, "system_get_info", {}, firmware},
    Exchange{3, 0, "connection_disconnect", onlyConnection, connectionAndResult},
    Exchange{
        3, 1, "connection_get_rssi", onlyConnection, {connectionField, FieldFormat{"rssi", signalStrength}}},
    Exchange{3,
             2,
             "connection_update",
             {connectionField, FieldFormat{"interval_min", connectionInterval},
              FieldFormat{"interval_max", connectionInterval}, latencyField, timeoutField},
             connectionAndResult},
    Exchange{3, 3, "connection_version_update", onlyConnection, connectionAndResult},
    Exchange{
        3, 4, "connection_channel_map_get", onlyConnection, {connectionField, FieldFormat{"map", bytes}}},
    Exchange{3, 6, "connection_features_get", onlyConnection, connectionAndResult},
    Exchange{3, 7, "connection_get_status", onlyConnection, onlyConnection},
    Exchange{4,
             1,
             "attclient_read_by_group_type",
             {connectionField, startField, endField, FieldFormat{"uuid", uuid}},
             connectionAndResult},
    Exchange{4,
             2,
             "attclient_read_by_type",
             {connectionField, startField, endField, FieldFormat{"uuid", uuid}},
             connectionAndResult},
    Exchange{
        4, 3, "attclient_find_information", {connectionField, startField, endField}, connectionAndResult},
    Exchange{4,
             4,
             "attclient_read_by_handle",
             {connectionField, FieldFormat{"chrhandle", handle}},
             connectionAndResult},
    Exchange{4,
             5,
             "attclient_attribute_write",
             {connectionField, handleField, FieldFormat{"data", value}},
             connectionAndResult},
    Exchange{4,
             6,
             "attclient_write_command",
             {connectionField, handleField, FieldFormat{"data", value}},
             connectionAndResult},
    Exchange{4, 7, "attclient_indicate_confirm", onlyConnection, onlyResult},
    Exchange{4,
             8,
             "attclient_read_long",
             {connectionField, FieldFormat{"chrhandle", handle}},
             connectionAndResult},
    Exchange{4,
             9,
             "attclient_prepare_write",
             {connectionField, handleField, FieldFormat{"offset", number16}, FieldFormat{"data", bytes}},
             connectionAndResult},
    Exchange{4,
             10,
             "attclient_execute_write",
             {connectionField, FieldFormat{"commit", number8}},
             connectionAndResult},
    Exchange{4,
             11,
             "attclient_read_multiple",
             {connectionField, FieldFormat{"handles", bytes}},
             connectionAndResult},
    Exchange{5, 1, "sm_set_bondable_mode", {FieldFormat{"bondable", number8}}},
    Exchange{5, 5, "sm_get_bonds", {}, {FieldFormat{"bonds", number8}}},
    Exchange{6,
             1,
             "gap_set_mode",
             {FieldFormat{"discover", discoverable}, FieldFormat{"connect", connectable}},
             onlyResult},
    Exchange{6, 2, "gap_discover", {FieldFormat{"mode", discoverMode}}, onlyResult},
    Exchange{6,
             3,
             "gap_connect_direct",
             {addressField, FieldFormat{"addr_type", addressType}, intervalMinField, intervalMaxField,
              timeoutField, latencyField},
             resultAndConnection},
    Exchange{6, 4, "gap_end_procedure", {}, onlyResult},
    Exchange{6,
             5,
             "gap_connect_selective",
             {intervalMinField, intervalMaxField, timeoutField, latencyField},
             resultAndConnection},
    Exchange{6,
             6,
             "gap_set_filtering",
             {FieldFormat{"scan_policy", number8}, FieldFormat{"adv_policy", number8},
              FieldFormat{"scan_duplicate_filtering", number8}},
             onlyResult},
    Exchange{6,
             7,
             "gap_set_scan_parameters",
             {FieldFormat{"scan_interval", scanInterval}, FieldFormat{"scan_window", scanInterval},
              FieldFormat{"active", number8}},
             onlyResult},
};

constexpr std::array events{
    Event{0, 0, "system_boot", firmware},
    Event{0, 6, "system_protocol_error", {FieldFormat{"reason", result}}},
    Event{3,
          0,
          "connection_status",
          {connectionField, FieldFormat{"flags", connectionFlags}, addressField, addressTypeField,
           FieldFormat{"conn_interval", connectionInterval}, timeoutField, latencyField,
           FieldFormat{"bonding", bonding}}},
    Event{3,
          1,
          "connection_version_ind",
          {connectionField, FieldFormat{"vers_nr", number8}, FieldFormat{"comp_id", number16},
           FieldFormat{"sub_vers_nr", number16}}},
    Event{3, 2, "connection_feature_ind", {connectionField, FieldFormat{"features", bytes}}},
    Event{3, 4, "connection_disconnected", {connectionField, FieldFormat{"reason", result}}},
    Event{4, 0, "attclient_indicated", {connectionField, FieldFormat{"attrhandle", handle}}},
    Event{4,
          1,
          "attclient_procedure_completed",
          {connectionField, resultField, FieldFormat{"chrhandle", handle}}},
    Event{4, 2, "attclient_group_found", {connectionField, startField, endField, FieldFormat{"uuid", uuid}}},
    Event{4,
          3,
          "attclient_attribute_found",
          {connectionField, FieldFormat{"chrdecl", handle}, FieldFormat{"value", handle},
           FieldFormat{"properties", flags8}, FieldFormat{"uuid", uuid}}},
    Event{4,
          4,
          "attclient_find_information_found",
          {connectionField, FieldFormat{"chrhandle", handle}, FieldFormat{"uuid", uuid}}},
    Event{4,
          5,
          "attclient_attribute_value",
          {connectionField, handleField, FieldFormat{"type", valueType}, FieldFormat{"value", value}}},
    Event{4, 6, "attclient_read_multiple_response", {connectionField, FieldFormat{"handles", bytes}}},
    Event{6,
          0,
          "gap_scan_response",
          {FieldFormat{"rssi", signalStrength}, FieldFormat{"packet_type", packetType},
           FieldFormat{"sender", address}, addressTypeField, FieldFormat{"bond", bonding},
           FieldFormat{"data", advertising}}},
    Event{6,
          1,
          "gap_mode_changed",
          {FieldFormat{"discover", discoverable}, FieldFormat{"connect", connectable}}},
};

struct MessageClass {
  std::string_view name;
  std::uint8_t exchanges;
  std::uint8_t events;
};

constexpr std::array<MessageClass, 10> classes{{{"system", 18, 7},
                                                {"flash", 9, 1},
                                                {"attributes", 6, 3},
                                                {"connection", 10, 5},
                                                {"attclient", 12, 7},
                                                {"sm", 8, 5},
                                                {"gap", 12, 2},
                                                {"hardware", 21, 4},
                                                {"test", 7, 0},
                                                {"dfu", 4, 1}}};

constexpr std::span<const FieldFormat> used(const Fields& fields)
{
  const auto end = std::ranges::find(fields, none, &FieldFormat::type);
  return std::span(fields).first(static_cast<std::size_t>(end - fields.begin()));
}

constexpr auto key(const auto& row)
{
  return std::pair(row.group, row.id);
}

constexpr bool hasArrayOnlyLast(const Fields& fields)
{
  const auto shown = used(fields);
  const auto array = std::ranges::find_if(shown, isArray, &FieldFormat::type);
  return shown.end() - array <= 1;
}

constexpr bool isNamedAfterItsClass(const auto& row)
{
  const std::string_view group = classes[row.group].name;
  return row.name.starts_with(group) && row.name[group.size()] == '_';
}

static_assert(std::ranges::adjacent_find(exchanges, [](const auto& row, const auto& next) {
                return key(row) >= key(next);
              }) == exchanges.end());
static_assert(std::ranges::adjacent_find(events, [](const auto& row, const auto& next) {
                return key(row) >= key(next);
              }) == events.end());
static_assert(std::ranges::all_of(exchanges, [](const Exchange& row) {
  return row.id < classes[row.group].exchanges && isNamedAfterItsClass(row) &&
         hasArrayOnlyLast(row.command) && hasArrayOnlyLast(row.response);
}));
static_assert(std::ranges::all_of(events, [](const Event& row) {
  return row.id < classes[row.group].events && isNamedAfterItsClass(row) && hasArrayOnlyLast(row.fields);
}));

template <class Rows>
auto find(const Rows& rows, std::uint8_t group, std::uint8_t id)
{
  const auto row = std::ranges::lower_bound(rows, std::pair(group, id), {},
                                            [](const auto& candidate) { return key(candidate); });
  return row != rows.end() && key(*row) == std::pair(group, id) ? &*row : nullptr;
}

}  // namespace

std::optional<MessageFormat> messageFormat(MessageKind kind, std::uint8_t group, std::uint8_t id)
{
  if (kind == MessageKind::event) {
    const Event* const row = find(events, group, id);
    return row ? std::optional(MessageFormat{row->name, used(row->fields)}) : std::nullopt;
  }
  const Exchange* const row = find(exchanges, group, id);
  if (row == nullptr) return std::nullopt;
  return MessageFormat{row->name, used(kind == MessageKind::command ? row->command : row->response)};
}

std::string_view messageClassName(std::uint8_t group)
{
  return group < classes.size() ? classes[group].name : std::string_view();
}

bool isPublished(MessageKind kind, std::uint8_t group, std::uint8_t id)
{
  if (group >= classes.size()) return false;
  return id < (kind == MessageKind::event ? classes[group].events : classes[group].exchanges);
}
