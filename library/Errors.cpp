#include "library/Errors.h"

#include <array>
#include <new>
#include <string_view>
#include <system_error>

#include "host/base/Characters.h"
#include "library/OptionNames.h"

namespace library {

namespace {

// A printable text of limited length, which needs no other memory than its own. A longer one is cut between
// two characters.
template <std::size_t Size>
class ShortText {
 public:
  void clear()
  {
    length_ = 0;
    isCut_ = false;
    text_[0] = '\0';
  }

  void append(std::string_view untrusted)
  {
    while (!untrusted.empty() && !isCut_) {
      const std::string_view bytes = firstCharacter(untrusted).bytes;
      // So few characters fit into a string itself.
      const std::string shown = printable(bytes);
      isCut_ = length_ + shown.size() + ending.size() >= Size;
      copy(isCut_ ? ending : shown);
      untrusted.remove_prefix(bytes.size());
    }
  }

  const char* text() const { return text_.data(); }

 private:
  static constexpr std::string_view ending = "...";

  void copy(std::string_view text)
  {
    text.copy(text_.data() + length_, text.size());
    length_ += text.size();
    text_[length_] = '\0';
  }

  std::array<char, Size> text_{};
  std::size_t length_ = 0;
  bool isCut_ = false;
};

struct LatestError {
  ShortText<2048> text;
  ShortText<1024> advice;
};
thread_local constinit LatestError latest;

constexpr tessel_status statusOf(ExitCode code)
{
  switch (code) {
    case ExitCode::done:
      return TESSEL_ERROR_INTERNAL;  // no error at all
    case ExitCode::interrupted:
      return TESSEL_ERROR_CANCELLED;
    default:
      return -static_cast<tessel_status>(code);
  }
}
static_assert(statusOf(ExitCode::internal) == TESSEL_ERROR_INTERNAL);
static_assert(statusOf(ExitCode::usage) == TESSEL_ERROR_ARGUMENT);
static_assert(statusOf(ExitCode::settings) == TESSEL_ERROR_SETTINGS);
static_assert(statusOf(ExitCode::plugin) == TESSEL_ERROR_PLUGIN);
static_assert(statusOf(ExitCode::output) == TESSEL_ERROR_OUTPUT);
static_assert(statusOf(ExitCode::recording) == TESSEL_ERROR_RECORDING);
static_assert(statusOf(ExitCode::noDongle) == TESSEL_ERROR_DONGLE);
static_assert(statusOf(ExitCode::port) == TESSEL_ERROR_PORT);
static_assert(statusOf(ExitCode::firmware) == TESSEL_ERROR_FIRMWARE);
static_assert(statusOf(ExitCode::noGloves) == TESSEL_ERROR_GLOVES);
static_assert(statusOf(ExitCode::gloves) == TESSEL_ERROR_GLOVE);
static_assert(statusOf(ExitCode::silence) == TESSEL_ERROR_SILENCE);
static_assert(statusOf(ExitCode::refused) == TESSEL_ERROR_REFUSED);
static_assert(statusOf(ExitCode::books) == TESSEL_ERROR_BOOKS);

tessel_status note(tessel_status status, std::string_view text, std::string_view advice)
{
  latest.text.clear();
  latest.text.append(text);
  latest.advice.clear();
  latest.advice.append(advice);
  return status;
}

tessel_status noteMemory()
{
  return note(TESSEL_ERROR_MEMORY, "there is not enough memory.", "End other programs and try again.");
}

tessel_status noteInternal(std::string_view text)
{
  return note(TESSEL_ERROR_INTERNAL, text, "This is an error in the library: please report it.");
}

tessel_status noteSystem(const std::system_error& error)
{
  // A thread that can't be started.
  const bool isScarce = error.code() == std::errc::resource_unavailable_try_again ||
                        error.code() == std::errc::not_enough_memory;
  return isScarce ? noteMemory() : noteInternal(error.what());
}

tessel_status noteFailure(const Failure& failure)
{
  note(statusOf(failure.code()), withOptionNames(failure.what()), withOptionNames(failure.advice()));
  for (const std::string& detail : failure.details()) {
    latest.text.append(" ");
    latest.text.append(detail);
  }
  return statusOf(failure.code());
}

}  // namespace

Error nullArgument(const char* name)
{
  return {TESSEL_ERROR_ARGUMENT, std::string(name) + " is null.",
          "Pass the address of memory of the caller."};
}

tessel_status noteError() noexcept
{
  try {
    throw;
  } catch (const Error& error) {
    return note(error.status(), error.what(), error.advice());
  } catch (const Failure& failure) {
    return noteFailure(failure);
  } catch (const std::bad_alloc&) {
    return noteMemory();
  } catch (const std::system_error& error) {
    return noteSystem(error);
  } catch (const std::exception& error) {
    return noteInternal(error.what());
  } catch (...) {
    return noteInternal("an unknown exception.");
  }
}

const char* latestText() noexcept
{
  return latest.text.text();
}

const char* latestAdvice() noexcept
{
  return latest.advice.text();
}

}  // namespace library
