#include <gtest/gtest.h>
#include <windows.h>

#include "host/base/Failure.h"
#include "host/base/System.h"
#include "host/session/MarkerInput.h"

namespace {

using namespace std::chrono_literals;

const std::filesystem::path path = LR"(\\.\pipe\tessel-marker-test)";

// As a program that finds the pipe busy with another writer tries again.
void write(const std::string& text)
{
  const auto limit = host::uptime() + 10s;
  HANDLE pipe = INVALID_HANDLE_VALUE;
  while (pipe == INVALID_HANDLE_VALUE && host::uptime() < limit) {
    pipe = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    if (pipe == INVALID_HANDLE_VALUE) Sleep(1);
  }
  DWORD count = 0;
  WriteFile(pipe, text.data(), static_cast<DWORD>(text.size()), &count, nullptr);
  EXPECT_EQ(count, text.size());
  CloseHandle(pipe);
}

TEST(MarkerInput, ReadsANamedPipeOfManyWriters)
{
  MarkerQueue queue;
  std::string texts;
  {
    const MarkerInput input(queue, path);
    EXPECT_THROW(MarkerInput(queue, path), Failure) << "of another run";
    write("first\n\n");
    write("not ended");
    write("last\n");
  }
  for (const Marker& marker : queue.take(100'000)) {
    texts += marker.text + ';';
  }
  EXPECT_EQ(texts, "first;marker 2;not ended;last;");
  const MarkerInput again(queue, path);
}

TEST(MarkerInput, RefusesANameThatIsNoPipe)
{
  MarkerQueue queue;
  EXPECT_THROW(MarkerInput(queue, "markers"), Failure);
}

}  // namespace
