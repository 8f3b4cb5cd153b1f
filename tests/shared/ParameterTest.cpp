#include "shared/Parameter.h"

#include <gtest/gtest.h>

#ifndef _WIN32
#include <unistd.h>
#endif

#include <locale>
#include <map>
#include <sstream>

#include "tests/support/GroupingLocale.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using parameter::Satelite;

// One parameter of each type, with values that a failed read must not change.
std::wstring text;
double fraction;
std::int32_t number;
std::vector<std::int32_t> list;
bool flag;
Satelite<std::wstring> textSatelite(L"Text", text);
Satelite<double> fractionSatelite(L"Fraction", fraction);
Satelite<std::int32_t> numberSatelite(L"Number", number);
Satelite<std::vector<std::int32_t>> listSatelite(L"List", list);
Satelite<bool> flagSatelite(L"Flag", flag);
Satelite<std::int32_t> lowerCaseSatelite(L"number", number);

// A character set in which each byte is a character.
class Latin1 final : public std::codecvt<wchar_t, char, std::mbstate_t> {
  result do_in(std::mbstate_t&, const char* from, const char* fromEnd, const char*& fromNext, wchar_t* to,
               wchar_t* toEnd, wchar_t*& toNext) const override
  {
    for (fromNext = from, toNext = to; fromNext != fromEnd && toNext != toEnd; ++fromNext) {
      *toNext++ = static_cast<unsigned char>(*fromNext);
    }
    return fromNext == fromEnd ? ok : partial;
  }
  result do_out(std::mbstate_t&, const wchar_t* from, const wchar_t* fromEnd, const wchar_t*& fromNext,
                char* to, char* toEnd, char*& toNext) const override
  {
    for (fromNext = from, toNext = to; fromNext != fromEnd && toNext != toEnd; ++fromNext) {
      if (*fromNext > 0xFF) return error;
      *toNext++ = static_cast<char>(*fromNext);
    }
    return fromNext == fromEnd ? ok : partial;
  }
};

class Parameter : public testing::Test {
 protected:
  Parameter() { reset(); }

  static void reset()
  {
    text = L"old";
    fraction = 2.5;
    number = 7;
    list = {1, 2};
    flag = true;
  }

  static std::wstring values()
  {
    std::wostringstream stream;
    parameter::writeMatching(L"", stream);
    return stream.str();
  }
};

constexpr const wchar_t* unchanged =
    L"Flag\t1\nFraction\t2.5\nList\t2 1 2\nNumber\t7\nText\t\"old\"\nnumber\t7\n";

TEST_F(Parameter, ReadsRecordsAndCountsErrors)
{
  struct Case {
    const wchar_t* input;
    std::int32_t result;
    std::wstring written;  // the record that changed; empty for none
  };
  const Case cases[] = {
      {L"", 0, L""},
      {L"// Number 9\n//Number 9\n# Number 9\n", 0, L""},
      {L"Number\t\n\n  9\n", 1, L"Number\t9"},
      {L"Number 0x10", 1, L"Number\t16"},
      {L"Number 010", 1, L"Number\t8"},
      {L"Number 1 Number 2", 2, L"Number\t2"},
      {L"Unknown 50", -2, L""},
      {L"Unknown 5 Number 9\nNumber 8", -1, L"Number\t8"},
      {L"Number abc Number 9", -2, L"Number\t9"},
      {L"Number 2147483648", -1, L""},
      {L"Number", -1, L""},
      {L"Fraction 1e999", -1, L""},
      {L"Flag 0", 1, L"Flag\t0"},
      {L"Flag false", -2, L""},
      {L"Text word Number 9", 2, L"Number\t9\nText\t\"word\""},
      {L"Text \"two\nlines\"Number 9", 2, L"Number\t9\nText\t\"two\nlines\""},
      {L"Text \"\"", 1, L"Text\t\"\""},
      {L"Text \"never closed Number 9", 1, L"Text\t\"never closed Number 9\""},
      {L"Text", -1, L""},
      {L"Text \"", -1, L""},
      {L"Text \" ", 1, L"Text\t\" \""},
      {L"List 3 11 12 -1", 1, L"List\t3 11 12 -1"},
      {L"List 3 11 12", -1, L"List\t3 11 12 0"},
      {L"List 3 11 ab 12\nNumber 9", -3, L"List\t3 11 0 0"},
      {L"List none", -2, L"List\t0"},
  };
  for (const Case& c : cases) {
    reset();
    std::wistringstream input(c.input);
    EXPECT_EQ(parameter::readStream(input), c.result) << testing::PrintToString(c.input);
    if (c.written.empty()) {
      EXPECT_EQ(values(), unchanged) << testing::PrintToString(c.input);
    } else {
      EXPECT_NE(values().find(c.written), std::wstring::npos) << testing::PrintToString(c.input);
    }
  }
}

TEST_F(Parameter, ACountThatIsTooLargeIsNoErrorAndKeepsTheList)
{
  for (const wchar_t* count : {L"65537", L"18446744073709551615", L"-1"}) {
    std::wistringstream input(std::wstring(L"List ") + count + L" Number 9");
    EXPECT_EQ(parameter::readStream(input), 2) << testing::PrintToString(count);
    EXPECT_EQ(list, (std::vector<std::int32_t>{1, 2}));
  }
  std::wistringstream largest(L"List 65536 5");
  EXPECT_EQ(parameter::readStream(largest), -1);
  EXPECT_EQ(list.size(), 65536U);
}

TEST_F(Parameter, FilesAreReplacedAndReadBackTheSameAndAPrefixSelects)
{
  const TemporaryFolder folder;
  const std::wstring path = folder.write("settings.txt", std::string(1000, 'x'));
  EXPECT_EQ(parameter::writeFile(L"F", path), 2U);
  EXPECT_EQ(folder.read("settings.txt"), "Flag\t1\nFraction\t2.5\n");
  EXPECT_TRUE(parameter::writeOne(L"Number", path));
  EXPECT_FALSE(parameter::writeOne(L"Numbe", path)) << "only the exact name";
  EXPECT_EQ(folder.read("settings.txt"), "Number\t7\n");

  text = L"a \n b";
  list = {};
  const std::wstring written = values();
  EXPECT_EQ(parameter::writeFile(L"", path), 6U);
  reset();
  EXPECT_EQ(parameter::readFile(path), 6);
  EXPECT_EQ(values(), written);
}

TEST_F(Parameter, AFileThatDoesNotOpenChangesNothing)
{
  const TemporaryFolder folder;
  const std::wstring impossible(1, static_cast<wchar_t>(0x7FFFFFFF));
  for (const std::wstring& path : {folder.wide() + L"missing", folder.wide(), std::wstring(), impossible}) {
    EXPECT_EQ(parameter::readFile(path), -1);
    EXPECT_EQ(parameter::writeFile(L"", path + L"/"), 0U);
    EXPECT_FALSE(parameter::writeOne(L"Number", path + L"/"));
  }
#ifndef _WIN32
  const std::wstring secret = folder.write("secret", "Number 9");
  std::filesystem::permissions(folder / "secret", std::filesystem::perms::none);
  const bool privileged = ::geteuid() == 0;
  ASSERT_EQ(privileged ? ::seteuid(65534) : 0, 0);
  EXPECT_EQ(parameter::readFile(secret), -1);
  ASSERT_EQ(privileged ? ::seteuid(0) : 0, 0);
#endif
  EXPECT_EQ(values(), unchanged);
}

// Sets a host's character set while the object lives.
class CharacterSet {
 public:
  explicit CharacterSet(const std::locale& locale) : before_(std::locale::global(locale)) {}
  ~CharacterSet() { std::locale::global(before_); }
  CharacterSet(const CharacterSet&) = delete;
  CharacterSet& operator=(const CharacterSet&) = delete;

 private:
  std::locale before_;
};

// The character sets of this system. Latin-1 is implemented here, because few systems have it installed.
std::map<std::string, std::locale> characterSets()
{
  std::map<std::string, std::locale> sets{{"C", std::locale::classic()},
                                          {"Latin-1", std::locale(std::locale::classic(), new Latin1)}};
  try {
    sets.emplace("UTF-8", std::locale("C.UTF-8"));
  } catch (const std::runtime_error&) {
    // Windows has none of these locales.
  }
  return sets;
}

// The character set in which each byte is a character: the C locale on Windows.
#ifdef _WIN32
constexpr const char* byteByByte = "C";
#else
constexpr const char* byteByByte = "none";
#endif

TEST_F(Parameter, AFileWithAnyBytesIsReadToItsEndAndSurvivesSavingInEveryLocale)
{
  const TemporaryFolder folder;
  const struct {
    const char* name;
    std::string bytes;  // of a text value
    std::map<std::string, std::wstring> read;
  } cases[] = {
      {"plain", "a", {{"C", L"a"}, {"UTF-8", L"a"}, {"Latin-1", L"a"}}},
      {"UTF-8",
       "\xC3\xA4\xE2\x82\xAC",
       {{"C", L"\u00E4\u20AC"}, {"UTF-8", L"\u00E4\u20AC"}, {"Latin-1", L"\u00C3\u00A4\u00E2\u0082\u00AC"}}},
      {"Latin-1", "\xE4", {{"C", L"\u00E4"}, {"UTF-8", L"\u00E4"}, {"Latin-1", L"\u00E4"}}},
      {"a cut sequence",
       "\xE2\x82",
       {{"C", L"\u00E2\u0082"}, {"UTF-8", L"\u00E2\u0082"}, {"Latin-1", L"\u00E2\u0082"}}},
      {"an overlong sequence",
       "\xC0\x80",
       {{"C", L"\u00C0\u0080"}, {"UTF-8", L"\u00C0\u0080"}, {"Latin-1", L"\u00C0\u0080"}}},
  };
  for (auto& [set, locale] : characterSets()) {
    const CharacterSet inForce(locale);
    for (const auto& [name, bytes, expected] : cases) {
      // Neither the comment's byte, the value's, nor a byte order mark may affect the rest.
      const std::string file = "\xEF\xBB\xBF// " + bytes + "\nText \"" + bytes + "\"\nNumber 9";
      reset();
      EXPECT_EQ(parameter::readFile(folder.write("settings.txt", file)), 2) << set << ", " << name;
      if (set != byteByByte) {
        EXPECT_EQ(text, expected.at(set)) << set << ", " << name;
      }
      EXPECT_EQ(number, 9);
      const std::wstring once = text;
      EXPECT_EQ(parameter::writeFile(L"", folder.wide() + L"saved"), 6U);
      reset();
      EXPECT_EQ(parameter::readFile(folder.wide() + L"saved"), 6) << set << ", " << name;
      EXPECT_EQ(text, once) << set << ", " << name;
    }
    // A text that came from a host, not from a file.
    text = L"\u20AC";
    fraction = 1.5;
    EXPECT_EQ(parameter::writeFile(L"", folder.wide() + L"saved"), 6U) << set;
    EXPECT_NE(folder.read("saved").find("Text\t\"\xE2\x82\xAC\"\nnumber"), std::string::npos) << set;
  }
}

TEST_F(Parameter, NumbersAreTheSameInALocaleThatGroupsDigits)
{
  const TemporaryFolder folder;
  const GroupingLocale grouping;
  number = 12000;
  fraction = 1234.5;
  list = {65534, 1000};
  const std::wstring path = folder.wide() + L"saved";
  EXPECT_EQ(parameter::writeFile(L"", path), 6U);
  EXPECT_EQ(folder.read("saved"),
            "Flag\t1\nFraction\t1234.5\nList\t2 65534 1000\nNumber\t12000\nText\t\"old\"\n"
            "number\t12000\n");
  reset();
  EXPECT_EQ(parameter::readFile(path), 6);
  EXPECT_EQ(number, 12000);
  EXPECT_EQ(fraction, 1234.5);
  EXPECT_EQ(list, (std::vector<std::int32_t>{65534, 1000}));
}

TEST(Trim, CutsWhiteSpaceOffBothEnds)
{
  EXPECT_EQ(parameter::trim(L" \t\r\n a b\n "), L"a b");
  EXPECT_EQ(parameter::trim(L" \t\r\n") + parameter::trim(L"\v"), L"\v");
}

TEST_F(Parameter, ExpandReplacesReferences)
{
  const std::pair<std::wstring, std::wstring> cases[] = {
      {L"plain", L"plain"},           {L"n=<Number>, <Flag>", L"n=7, 1"},
      {L"<Text>", L"\"old\""},        {L"a<Nothing>b<>", L"aN/AbN/A"},
      {L"> <Number>", L"> <Number>"}, {L"<Number", L"<Number"},
      {L"<<Number>", L"N/A"},
  };
  for (const auto& [input, expected] : cases) {
    EXPECT_EQ(parameter::expand(input), expected);
  }
  text = L"<Text>";
  EXPECT_NE(parameter::expand(L"<Text>").find(L"<Text>"), std::wstring::npos)
      << "a value that refers to itself ends";
  text = L"<Text>" + std::wstring(100'000, L'x');
  EXPECT_LT(parameter::expand(L"<Text>").size(), 1'200'000U) << "and does not grow without end";
}

}  // namespace
