// 8-bit text files, read and written without losing a byte or character, whatever locale the host has set.
//
// The current locale decodes and encodes what it can. Bytes that it can't decode are foreign: a valid UTF-8
// sequence is read as UTF-8, any other byte as Latin-1. A character that it can't encode is written as UTF-8.
// Files use the platform's text mode; a UTF-8 byte order mark at the beginning is skipped.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace textfile {

struct ForeignBytes {
  std::size_t line;    // from 1
  std::size_t column;  // in characters, from 1
  std::string bytes;   // one byte, or a UTF-8 sequence
  bool isUtf8;         // otherwise it was read as Latin-1
};

// Called for each foreign sequence, in text order.
using ForeignObserver = std::function<void(const ForeignBytes& foreign)>;

// The whole text of a file; nothing if it does not open.
std::optional<std::wstring> read(const std::wstring& path, const ForeignObserver& onForeign = nullptr);

// Decode the bytes of a file, and encode a text for one.
std::wstring decode(std::string_view bytes, const ForeignObserver& onForeign = nullptr);
std::string encode(std::wstring_view text);

}  // namespace textfile
