#include "shared/TextFile.h"

#include <algorithm>
#include <array>
#include <cwchar>
#include <fstream>
#include <locale>

#include "shared/System.h"
#include "shared/Utf8.h"

namespace textfile {

namespace {

using Facet = std::codecvt<wchar_t, char, std::mbstate_t>;

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
// No character of any locale takes more bytes.
constexpr std::size_t maxCharacter = 16;

// Appends a character: two wide characters above U+FFFF where they have 16 bits.
void append(std::wstring& text, char32_t code)
{
  if (sizeof(wchar_t) > 2 || code < 0x10000) {
    text += static_cast<wchar_t>(code);
    return;
  }
  text += static_cast<wchar_t>(0xD800 + ((code - 0x10000) >> 10));
  text += static_cast<wchar_t>(0xDC00 + (code & 0x3FF));
}

// The first character of a text, and its number of wide characters.
struct WideCharacter {
  char32_t code;
  std::size_t length;
};

WideCharacter firstOf(std::wstring_view text)
{
  const auto code = static_cast<char32_t>(text.front());
  const bool isPair = sizeof(wchar_t) == 2 && text.size() > 1 && code >= 0xD800 && code < 0xDC00 &&
                      text[1] >= 0xDC00 && text[1] < 0xE000;
  if (!isPair) return {code, 1};
  return {0x10000 + ((code - 0xD800) << 10) + (static_cast<char32_t>(text[1]) - 0xDC00), 2};
}

class Decoder {
 public:
  Decoder(std::string_view bytes, const ForeignObserver& onForeign) : rest_(bytes), onForeign_(onForeign) {}

  std::wstring run()
  {
    // Most text decodes without error; a chunk that does not is decoded character by character.
    constexpr std::size_t chunk = 256;
    while (!rest_.empty()) {
      if (takeAll(rest_.substr(0, chunk))) continue;
      const std::size_t end = rest_.size() - std::min(chunk, rest_.size());
      while (rest_.size() > end) {
        takeOne();
      }
    }
    return std::move(text_);
  }

 private:
  // The number of bytes that the locale decoded, and the resulting characters.
  struct Decoded {
    std::size_t bytes;
    std::size_t characters;
    bool isWhole;  // no byte is left over
  };

  Decoded decode(std::string_view bytes, wchar_t* characters, std::size_t count) const
  {
    std::mbstate_t state{};
    const char* next = nullptr;
    wchar_t* end = nullptr;
    const auto result = facet_.in(state, bytes.data(), bytes.data() + bytes.size(), next, characters,
                                  characters + count, end);
    // An incomplete character at the end counts as consumed and is kept in the conversion state.
    const bool isWhole =
        result == Facet::ok && next == bytes.data() + bytes.size() && std::mbsinit(&state) != 0;
    return {static_cast<std::size_t>(next - bytes.data()), static_cast<std::size_t>(end - characters),
            isWhole};
  }

  bool takeAll(std::string_view bytes)
  {
    const std::size_t before = text_.size();
    text_.resize(before + bytes.size());
    const Decoded decoded = decode(bytes, text_.data() + before, bytes.size());
    text_.resize(before + (decoded.isWhole ? decoded.characters : 0));
    if (decoded.isWhole) rest_.remove_prefix(bytes.size());
    return decoded.isWhole;
  }

  void takeOne()
  {
    wchar_t character{};
    if (const Decoded decoded = decode(rest_.substr(0, maxCharacter), &character, 1);
        decoded.characters > 0) {
      text_ += character;
      rest_.remove_prefix(decoded.bytes);
      return;
    }
    const utf8::Character known = utf8::first(rest_);
    const bool isUtf8 = known.length > 1;
    const std::size_t length = isUtf8 ? known.length : 1;
    if (onForeign_) report({0, 0, std::string(rest_.substr(0, length)), isUtf8});
    append(text_, isUtf8 ? known.code : static_cast<unsigned char>(rest_.front()));
    rest_.remove_prefix(length);
  }

  void report(ForeignBytes foreign)
  {
    for (; counted_ < text_.size(); ++counted_) {
      if (text_[counted_] == L'\n') {
        ++line_;
        lineStart_ = counted_ + 1;
      }
    }
    foreign.line = line_;
    foreign.column = text_.size() - lineStart_ + 1;
    onForeign_(foreign);
  }

  const std::locale locale_;
  const Facet& facet_ = std::use_facet<Facet>(locale_);
  std::string_view rest_;
  const ForeignObserver& onForeign_;
  std::wstring text_;
  // Position up to which lines were counted, for reports.
  std::size_t counted_ = 0;
  std::size_t line_ = 1;
  std::size_t lineStart_ = 0;
};

}  // namespace

std::wstring decode(std::string_view bytes, const ForeignObserver& onForeign)
{
  if (bytes.starts_with(byteOrderMark)) bytes.remove_prefix(byteOrderMark.size());
  return Decoder(bytes, onForeign).run();
}

std::optional<std::wstring> read(const std::wstring& path, const ForeignObserver& onForeign)
{
  std::ifstream file;
  if (!os::openStream(file, path, std::ios_base::in)) return std::nullopt;
  std::string bytes;
  for (std::array<char, 4096> piece{}; file;) {
    file.read(piece.data(), piece.size());
    bytes.append(piece.data(), static_cast<std::size_t>(file.gcount()));
  }
  // Not a part of it.
  if (file.bad()) return std::nullopt;
  return decode(bytes, onForeign);
}

std::string encode(std::wstring_view text)
{
  const std::locale locale;
  const auto& facet = std::use_facet<Facet>(locale);
  std::string bytes;
  while (!text.empty()) {
    std::mbstate_t state{};
    const wchar_t* next = nullptr;
    std::array<char, maxCharacter> encoded{};
    char* end = nullptr;
    const auto result = facet.out(state, text.data(), text.data() + 1, next, encoded.data(),
                                  encoded.data() + encoded.size(), end);
    if (result == Facet::ok && end != encoded.data()) {
      bytes.append(encoded.data(), end);
      text.remove_prefix(1);
    } else {
      const WideCharacter character = firstOf(text);
      utf8::append(bytes, character.code);
      text.remove_prefix(character.length);
    }
  }
  return bytes;
}

}  // namespace textfile
