#include "library/Errors.h"

#include <gtest/gtest.h>

#include <future>
#include <system_error>

#include "library/Boundary.h"
#include "tests/support/FailingMemory.h"

namespace {

using library::Error;
using library::guarded;

TEST(Errors, HaveAStatusATextAndAnAdvice)
{
  const auto system = [](std::errc code) { return std::system_error(std::make_error_code(code)); };
  const struct {
    std::exception_ptr error;
    tessel_status status;
    const char *text, *advice;
  } rows[] = {
      {std::make_exception_ptr(Error(TESSEL_ERROR_BUSY, "it is open.", "Close it.")), TESSEL_ERROR_BUSY,
       "it is open.", "Close it."},
      {std::make_exception_ptr(Failure(ExitCode::noDongle, "no dongle.", "Plug it in.")), TESSEL_ERROR_DONGLE,
       "no dongle.", "Plug it in."},
      {std::make_exception_ptr(Failure(ExitCode::settings, "errors:", "", {"a\nb", "c\xFF."})),
       TESSEL_ERROR_SETTINGS, "errors: a\\nb c\\xFF.", ""},
      {std::make_exception_ptr(Failure(ExitCode::interrupted, "ended.", "")), TESSEL_ERROR_CANCELLED,
       "ended.", ""},
      {std::make_exception_ptr(std::bad_alloc()), TESSEL_ERROR_MEMORY, "there is not enough memory.",
       "End other programs and try again."},
      {std::make_exception_ptr(system(std::errc::resource_unavailable_try_again)), TESSEL_ERROR_MEMORY,
       "there is not enough memory.", "End other programs and try again."},
      {std::make_exception_ptr(std::out_of_range("at")), TESSEL_ERROR_INTERNAL, "at",
       "This is an error in the library: please report it."},
      {std::make_exception_ptr(7), TESSEL_ERROR_INTERNAL, "an unknown exception.",
       "This is an error in the library: please report it."},
  };
  for (const auto& row : rows) {
    const auto call = [&]() -> tessel_status { std::rethrow_exception(row.error); };
    {
      const FailingMemory failing;
      EXPECT_EQ(guarded(call), row.status);
    }
    EXPECT_STREQ(tessel_error_text(), row.text);
    EXPECT_STREQ(tessel_error_advice(), row.advice);
    EXPECT_EQ(guarded([] { return TESSEL_TIMEOUT; }), TESSEL_TIMEOUT);
    EXPECT_STREQ(tessel_error_text(), row.text) << "successful calls leave it";
  }
}

TEST(Errors, BelongToTheThread)
{
  guarded([]() -> tessel_status { throw Error(TESSEL_ERROR_STATE, "not now.", "Wait."); });
  EXPECT_EQ(std::async(std::launch::async, [] { return std::string(tessel_error_text()); }).get(), "");
  EXPECT_STREQ(tessel_error_text(), "not now.");
}

TEST(Errors, AreCutBetweenCharacters)
{
  for (unsigned shift = 0; shift < 4; ++shift) {
    std::string source(shift, '.');
    for (int count = 0; count < 1000; ++count) {
      source += "\xE2\x82\xAC";
    }
    guarded([&]() -> tessel_status { throw Error(TESSEL_ERROR_STATE, source, source); });
    for (const std::string text : {tessel_error_text(), tessel_error_advice()}) {
      ASSERT_TRUE(text.ends_with("\xE2\x82\xAC...")) << text;
      EXPECT_TRUE(source.starts_with(text.substr(0, text.size() - 3)));
      EXPECT_GT(text.size(), 1000U);
    }
  }
}

TEST(Boundary, CopiesTextsThatFit)
{
  const std::string source = "f\xC3\xA4ust";
  std::size_t needed = 0;
  const auto copy = [&](char* text, std::size_t size, std::size_t* count) {
    return guarded([&] { return library::copyText(source, text, size, count); });
  };
  std::string text(8, '#');
  EXPECT_EQ(copy(text.data(), 7, &needed), TESSEL_OK);
  EXPECT_EQ(text, std::string("f\xC3\xA4ust\0#", 8));
  EXPECT_EQ(needed, 7U);
  EXPECT_EQ(copy(text.data(), 7, nullptr), TESSEL_OK);

  text.assign(8, '#');
  needed = 0;
  EXPECT_EQ(copy(text.data(), 6, &needed), TESSEL_ERROR_TOO_SMALL);
  EXPECT_EQ(needed, 7U);
  EXPECT_EQ(copy(nullptr, 0, nullptr), TESSEL_ERROR_TOO_SMALL);
  EXPECT_EQ(copy(nullptr, 7, nullptr), TESSEL_ERROR_ARGUMENT);
  EXPECT_EQ(text, "########");
}

// As if this library were newer or older than the program.
TEST(Boundary, LeavesAloneWhatTheOtherVersionDoesNotHave)
{
  struct Structure {
    std::size_t size;
    std::uint64_t first, second;
  };
  constexpr std::size_t sizeOfFirstVersion = offsetof(Structure, second);
  struct Larger {
    Structure known;
    std::uint64_t third;
  };
  const auto fill = [](Structure* target) {
    return guarded([target] {
      library::fill(target, {.size = 1, .first = 2, .second = 3}, sizeOfFirstVersion);
      return TESSEL_OK;
    });
  };
  Larger target{.known = {.size = sizeof(Larger), .first = 8, .second = 8}, .third = 8};
  EXPECT_EQ(fill(&target.known), TESSEL_OK);
  EXPECT_EQ(std::tuple(target.known.size, target.known.first, target.known.second, target.third),
            std::tuple(sizeof(Larger), 2U, 3U, 8U));
  target = {.known = {.size = sizeOfFirstVersion, .first = 8, .second = 8}, .third = 8};
  EXPECT_EQ(fill(&target.known), TESSEL_OK);
  EXPECT_EQ(std::tuple(target.known.first, target.known.second), std::tuple(2U, 8U));
  for (const std::size_t size : {std::size_t{0}, sizeOfFirstVersion - 1}) {
    target.known.size = size;
    EXPECT_EQ(fill(&target.known), TESSEL_ERROR_ARGUMENT);
  }
  EXPECT_EQ(fill(nullptr), TESSEL_ERROR_ARGUMENT);
}

}  // namespace
