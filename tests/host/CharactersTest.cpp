#include "host/base/Characters.h"

#include <gtest/gtest.h>

namespace {

TEST(Characters, UnprintableOnesAreEscapedAndAllOthersStay)
{
  using namespace std::string_literals;
  const struct {
    const char* name;
    std::string text, shown;
  } cases[] = {
      {"ASCII and other letters", "a b~\\\"'<&>\xC3\xBC\xE2\x82\xAC\xF0\x9F\xA7\xA4",
       "a b~\\\"'<&>\xC3\xBC\xE2\x82\xAC\xF0\x9F\xA7\xA4"},
      {"line breaks", "a\nb\r\tc", R"(a\nb\r\tc)"},
      {"escape sequence", "\x1B[2J\x07", R"(\x1B[2J\x07)"},
      {"zero", "a\0b"s, R"(a\x00b)"},
      {"DEL", "\x7F", R"(\x7F)"},
      {"C1 control as UTF-8", "\xC2\x9B\x32J\xC2\x80", R"(\u009B2J\u0080)"},
      {"first one after the C1 controls", "\xC2\xA0", "\xC2\xA0"},
      {"C1 control as a byte", "\x9B", R"(\x9B)"},
      {"right to left override", "a\xE2\x80\xAEgpj.exe", R"(a\u202Egpj.exe)"},
      {"directional isolates", "\xE2\x81\xA6\xE2\x81\xA9", R"(\u2066\u2069)"},
      {"line separator", "\xE2\x80\xA8", R"(\u2028)"},
      {"truncated", "a\xE2\x82", R"(a\xE2\x82)"},
      {"overlong slash", "\xC0\xAF\xE0\x80\xAF", R"(\xC0\xAF\xE0\x80\xAF)"},
      {"overlong escape", "\xE0\x80\x9B", R"(\xE0\x80\x9B)"},
      {"surrogate", "\xED\xA0\x80", R"(\xED\xA0\x80)"},
      {"beyond the last code point", "\xF4\x90\x80\x80\xF5", R"(\xF4\x90\x80\x80\xF5)"},
      {"nothing", "", ""},
  };
  for (const auto& [name, text, shown] : cases) {
    EXPECT_EQ(printable(text), shown) << name;
    EXPECT_EQ(printable(shown), shown) << name << ": escaping twice changes nothing";
  }
}

}  // namespace
