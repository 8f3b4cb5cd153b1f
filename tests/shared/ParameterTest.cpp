#include "shared/Parameter.h"

#include <gtest/gtest.h>

#ifndef _WIN32
#include <unistd.h>
#endif

#include <locale>
#include <numeric>
#include <sstream>

#include "tests/support/TemporaryFolder.h"

namespace {

using parameter::Satelite;

// One parameter of each type, with the values that a failed reading must not touch.
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

TEST_F(Parameter, ReadsRecordsAndCountsFaults)
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

TEST_F(Parameter, ACountThatNoFileCouldHoldIsNoFaultAndLeavesTheList)
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

TEST_F(Parameter, DamagedFilesEndAndTouchNoOtherParameter)
{
  const TemporaryFolder folder;
  std::string everyByte(256, '\0');
  std::iota(everyByte.begin(), everyByte.end(), '\0');
  const std::string digits(10'000'000, '1');
  for (const std::string& content :
       {everyByte, "Number 9\nText \"" + everyByte + "\"", std::string(1000, '\0'), digits,
        "Number " + digits, "Fraction " + digits, "Text " + digits, "// " + digits, "Text \"" + digits,
        std::string("Text \"")}) {
    reset();
    EXPECT_LE(parameter::readFile(folder.write("damaged", content)), 2) << content.substr(0, 20);
    EXPECT_EQ(list, (std::vector<std::int32_t>{1, 2})) << content.substr(0, 20);
    EXPECT_TRUE(flag) << content.substr(0, 20);
  }
}

TEST_F(Parameter, FilesAreNarrowedByTheLocaleInForce)
{
  const std::locale before = std::locale::global(std::locale::classic());
  try {
    std::locale::global(std::locale("C.UTF-8"));
  } catch (const std::runtime_error&) {
    std::locale::global(before);
    GTEST_SKIP() << "this system has no such locale";
  }
  const TemporaryFolder folder;
  const std::wstring path = folder.write("settings.txt", "Text \"\xC3\xA4\xE2\x82\xAC\"");
  EXPECT_EQ(parameter::readFile(path), 1);
  EXPECT_EQ(text, L"\u00E4\u20AC");
  EXPECT_TRUE(parameter::writeOne(L"Text", path));
  EXPECT_EQ(folder.read("settings.txt"), "Text\t\"\xC3\xA4\xE2\x82\xAC\"\n");
  EXPECT_EQ(parameter::readFile(folder.write("broken.txt", "Number 9 Text \xC3(")), -1);
  std::locale::global(before);
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
      << "a value that names itself ends";
  text = L"<Text>" + std::wstring(100'000, L'x');
  EXPECT_LT(parameter::expand(L"<Text>").size(), 1'200'000U) << "and does not grow without end";
}

}  // namespace
