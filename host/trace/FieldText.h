// Fields of messages as text and as JSON: numbers in their units, with the names of what they stand for.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>

#include "host/trace/GloveNames.h"
#include "host/trace/Payload.h"

// What else the meaning of a field depends on.
struct FieldContext {
  MessageKind kind;
  const Payload& payload;
  const GloveNames& gloves;
};

// "  connection=0 left  result=0x0186 not connected", with what is missing and what is left over. Untrusted
// text in it is not escaped.
std::string fieldsText(const FieldContext& context);
// An object with the fields' numbers, addresses as text and arrays in hexadecimal; with "_text" added to the
// field's name, what they mean.
nlohmann::ordered_json fieldsJson(const FieldContext& context);
