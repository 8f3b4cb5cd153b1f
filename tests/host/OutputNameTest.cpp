#include "host/recording/OutputName.h"

#include <gtest/gtest.h>

#include "host/base/Failure.h"

namespace {

TEST(OutputName, AndFormatFollowFromEachOtherOrAreRefused)
{
  const auto none = std::optional<RecordFormat>();
  const std::optional csv = RecordFormat::csv;
  const std::optional npy = RecordFormat::npy;
  const std::optional xdf = RecordFormat::xdf;
  const struct {
    std::string name;
    std::optional<RecordFormat> format, chosen;  // chosen empty: refused
    std::string words = {};                      // of the error
  } cases[] = {
      {"a.CSV", csv, csv},
      {"a.csv", npy, {}, "--format npy and --output a.csv"},
      {"a.Npy", npy, npy},
      {"a.npy", csv, {}, "--format csv and --output a.npy"},
      {"a.xdf", none, xdf},
      {"a.xdf", csv, {}, "--format csv and --output a.xdf"},
      {"a", none, csv},
      {"a", npy, npy},
      {"run.1", none, csv},
      {"b.csv/a", npy, npy},
      {"a.npy/", none, npy},
      {"-", none, csv},
      {"-", npy, {}, "standard output is always csv"},
      {"/dev/stdout", npy, {}, "standard output is always csv"},
      {"-", xdf, {}, "standard output is always csv"},
      {"./-", npy, npy},
      {"", none, {}, "not ''"},
  };
  for (const auto& [name, format, chosen, words] : cases) {
    try {
      const auto output = chooseOutputName(name, format);
      ASSERT_TRUE(chosen) << name << " is not refused";
      EXPECT_EQ(output.format, *chosen) << name;
      EXPECT_EQ(output.path, name);
    } catch (const Failure& failure) {
      EXPECT_FALSE(chosen) << name;
      EXPECT_EQ(failure.code(), ExitCode::usage);
      EXPECT_NE(std::string(failure.what()).find(words), std::string::npos) << failure.what();
    }
  }
  EXPECT_TRUE(chooseOutputName({}, none).path.string().ends_with(".csv"));
  EXPECT_TRUE(chooseOutputName({}, xdf).path.string().ends_with(".xdf"));
  EXPECT_FALSE(chooseOutputName({}, npy).path.has_extension());
}

}  // namespace
