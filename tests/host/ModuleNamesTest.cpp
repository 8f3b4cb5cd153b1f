#include "host/gloves/ModuleNames.h"

#include <gtest/gtest.h>

namespace {

TEST(ModuleNames, AreAsManyAsTheMapSaysWhateverTheyContain)
{
  using Names = std::vector<std::string>;
  const struct {
    const wchar_t* map;
    Names names;
  } cases[] = {
      {L"2:KVXGL00017:KVXGR00018", {"KVXGL00017", "KVXGR00018"}},
      {L"1:KVXSS00007", {"KVXSS00007"}},
      {L"0", {}},
      {L"1:KVXGL00017:KVXGR00018", {"KVXGL00017:KVXGR00018"}},
      {L"2:KVXGL00017:x:y:KVXGR00018:z", {"KVXGL00017:x:y", "KVXGR00018:z"}},
      {L"2:KVXGL00017::KVXGR00018:", {"KVXGL00017:", "KVXGR00018:"}},
      {L"2:KVXGL:KVX", {"KVXGL", "KVX"}},
      {L"1:KVXGL00017\u00C3\u00BC", {"KVXGL00017\xC3\xBC"}},
      {L"2::", {"", ""}},
      {L"2:KVXGL00017", {"KVXGL00017", ""}},
      {L"FingerMapper", {}},
      {L"4000000000:KVXGL00017", {}},
      {L"-1:KVXGL00017", {}},
      {L"", {}},
  };
  for (const auto& [map, names] : cases) {
    EXPECT_EQ(parseModuleMap(map), names) << testing::PrintToString(map);
  }
}

TEST(ModuleNames, ContainSideAndSerialNumber)
{
  const struct {
    const char* name;
    const char* side;
    int serialNumber;
  } cases[] = {
      {"KVXGL00017", "left", 17}, {"KVXGR99999", "right", 99999},
      {"KVXSS00001", "glove", 1}, {"KVXGL000171", "left", 17},
      {"KVXGL0x017", "left", 0},  {"KVXGL-0017", "left", 0},
      {"KVXGL12", "left", 12},    {"KVXGR", "right", 0},
      {"KVXG", "glove", 0},       {"FAKES00017", "glove", 0},
      {"", "glove", 0},
  };
  for (const auto& [name, side, serialNumber] : cases) {
    EXPECT_EQ(sideOfModule(name), side) << name;
    EXPECT_EQ(serialNumberOfModule(name), serialNumber) << name;
  }
}

}  // namespace
