#include "host/session/MarkerInput.h"

#include <windows.h>

#include <array>
#include <string>
#include <system_error>
#include <thread>

#include "host/base/Failure.h"
#include "host/base/System.h"
#include "host/base/Text.h"

namespace {

// Standard input, if it is a console.
HANDLE console()
{
  DWORD mode = 0;
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  return GetConsoleMode(input, &mode) != 0 ? input : nullptr;
}

void echo(const std::wstring& text)
{
  DWORD written = 0;
  WriteConsoleW(GetStdHandle(STD_ERROR_HANDLE), text.data(), static_cast<DWORD>(text.size()), &written,
                nullptr);
}

}  // namespace

// Reads key by key and edits the line itself, because reading a line can't be interrupted.
struct MarkerInput::Reader {
  explicit Reader(MarkerQueue& queue) : markers(queue)
  {
    if (input == nullptr) return;
    end = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (end == nullptr) {
      throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), "CreateEvent");
    }
    thread = std::thread([this] { run(); });
  }

  ~Reader()
  {
    if (!thread.joinable()) return;
    SetEvent(end);
    thread.join();
    CloseHandle(end);
  }

  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

 private:
  void run()
  {
    const std::array wanted{end, input};
    while (WaitForMultipleObjects(wanted.size(), wanted.data(), FALSE, INFINITE) == WAIT_OBJECT_0 + 1) {
      INPUT_RECORD record{};
      DWORD count = 0;
      if (ReadConsoleInputW(input, &record, 1, &count) == 0) return;
      if (record.EventType != KEY_EVENT || record.Event.KeyEvent.bKeyDown == 0) continue;
      for (WORD key = 0; key < record.Event.KeyEvent.wRepeatCount; ++key) {
        press(record.Event.KeyEvent.uChar.UnicodeChar);
      }
    }
  }

  void press(wchar_t character)
  {
    if (character == L'\r') {
      echo(L"\r\n");
      markers.add(host::uptime(), narrow(line));
      line.clear();
    } else if (character == L'\b') {
      if (line.empty()) return;
      line.pop_back();
      echo(L"\b \b");
    } else if (character >= L' ' && line.size() < maxMarkerBytes) {
      line += character;
      echo({character});
    }
  }

  MarkerQueue& markers;
  const HANDLE input = console();
  HANDLE end = nullptr;
  std::wstring line;
  std::thread thread;
};

MarkerInput::MarkerInput(MarkerQueue& markers, const std::filesystem::path& fifo)
{
  if (!fifo.empty()) {
    throw Failure(ExitCode::usage, "markers from a FIFO need Linux.",
                  "Omit --markers, and type markers on the console.");
  }
  reader_ = std::make_unique<Reader>(markers);
}

MarkerInput::~MarkerInput() = default;
