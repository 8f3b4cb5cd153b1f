#include "bgapi/ErrorName.h"

#include <algorithm>
#include <array>

namespace {

struct ErrorName {
  std::uint16_t code;
  const char* name;
};

constexpr std::array names{
    ErrorName{0x0000, "success"},
    // the dongle's own commands
    ErrorName{0x0180, "invalid_param"},
    ErrorName{0x0181, "wrong_state"},
    ErrorName{0x0182, "out_of_memory"},
    ErrorName{0x0183, "not_implemented"},
    ErrorName{0x0184, "invalid_command"},
    ErrorName{0x0185, "timeout"},
    ErrorName{0x0186, "not_connected"},
    ErrorName{0x0187, "flow"},
    ErrorName{0x0188, "user_attribute"},
    ErrorName{0x018A, "command_too_long"},
    ErrorName{0x018B, "out_of_bonds"},
    // the Bluetooth core's error codes, with 0x0200 added
    ErrorName{0x0200, "bt_error_success"},
    ErrorName{0x0205, "bt_authentication_failure"},
    ErrorName{0x0206, "bt_pin_or_key_missing"},
    ErrorName{0x0207, "bt_memory_capacity_exceeded"},
    ErrorName{0x0208, "bt_connection_timeout"},
    ErrorName{0x0209, "bt_connection_limit_exceeded"},
    ErrorName{0x020C, "bt_command_disallowed"},
    ErrorName{0x0212, "bt_invalid_command_parameters"},
    ErrorName{0x0213, "bt_bt_error_remote_user_terminated"},
    ErrorName{0x0216, "bt_connection_terminated_by_local_host"},
    ErrorName{0x0222, "bt_ll_response_timeout"},
    ErrorName{0x0228, "bt_ll_instant_passed"},
    ErrorName{0x023A, "bt_controller_busy"},
    ErrorName{0x023B, "bt_unacceptable_connection_interval"},
    ErrorName{0x023C, "bt_directed_advertising_timeout"},
    ErrorName{0x023D, "bt_mic_failure"},
    ErrorName{0x023E, "bt_connection_failed_to_be_established"},
    // the security manager
    ErrorName{0x0301, "smp_passkey_entry_failed"},
    ErrorName{0x0302, "smp_oob_not_available"},
    ErrorName{0x0303, "smp_authentication_requirements"},
    ErrorName{0x0304, "smp_confirm_value_failed"},
    ErrorName{0x0305, "smp_pairing_not_supported"},
    ErrorName{0x0306, "smp_encryption_key_size"},
    ErrorName{0x0307, "smp_command_not_supported"},
    ErrorName{0x0308, "smp_unspecified_reason"},
    ErrorName{0x0309, "smp_repeated_attempts"},
    ErrorName{0x030A, "smp_invalid_parameters"},
    // the attribute protocol
    ErrorName{0x0401, "att_invalid_handle"},
    ErrorName{0x0402, "att_read_not_permitted"},
    ErrorName{0x0403, "att_write_not_permitted"},
    ErrorName{0x0404, "att_invalid_pdu"},
    ErrorName{0x0405, "att_insufficient_authentication"},
    ErrorName{0x0406, "att_request_not_supported"},
    ErrorName{0x0407, "att_invalid_offset"},
    ErrorName{0x0408, "att_insufficient_authorization"},
    ErrorName{0x0409, "att_prepare_queue_full"},
    ErrorName{0x040A, "att_attribute_not_found"},
    ErrorName{0x040B, "att_attribute_not_long"},
    ErrorName{0x040C, "att_insufficient_encryption_key_size"},
    ErrorName{0x040D, "att_invalid_attribute_value_length"},
    ErrorName{0x040E, "att_unlikely_error"},
    ErrorName{0x040F, "att_insufficient_encryption"},
    ErrorName{0x0410, "att_unsupported_group_type"},
    ErrorName{0x0411, "att_insufficient_resources"},
    ErrorName{0x0480, "att_application"},
};

static_assert(std::ranges::is_sorted(names, {}, &ErrorName::code));

}  // namespace

const char* ble_error_name(std::uint16_t code)
{
  const auto entry = std::ranges::lower_bound(names, code, {}, &ErrorName::code);
  return entry == names.end() || entry->code != code ? "unknown" : entry->name;
}
