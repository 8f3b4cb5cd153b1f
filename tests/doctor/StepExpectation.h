// What a walk is expected to say at one of its steps.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "host/doctor/DoctorText.h"
#include "host/doctor/StepList.h"

struct StepExpectation {
  const char* step;
  Step::Result result;
  ExitCode code;
  const char* text;  // part of it
  const char* fix;   // likewise
};

inline void expectStep(const StepList& steps, const StepExpectation& expected)
{
  std::string all;
  for (const Step& each : steps.steps()) {
    all += stepText(each);
  }
  SCOPED_TRACE(all);
  const auto found = std::ranges::find(steps.steps(), expected.step, &Step::name);
  ASSERT_NE(found, steps.steps().end());
  EXPECT_EQ(found->result, expected.result);
  EXPECT_EQ(found->code, expected.code);
  EXPECT_NE(found->text.find(expected.text), std::string::npos);
  EXPECT_NE(found->fix.find(expected.fix), std::string::npos);
  EXPECT_EQ(found->fix.empty() && found->result != Step::Result::failed, found->result == Step::Result::ok);
}
