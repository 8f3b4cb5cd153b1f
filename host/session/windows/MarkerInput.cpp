#include "host/session/MarkerInput.h"

#include <windows.h>

#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "host/base/System.h"
#include "host/base/Text.h"
#include "host/session/windows/MarkerPipe.h"

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

struct MarkerInput::Reader {
  Reader(MarkerQueue& markers, const std::filesystem::path& path, LineTaker taker)
      : typed(std::move(taker)), pipe(markers, path)
  {
    if (input == nullptr && pipe.event() == nullptr) return;
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
    std::vector<HANDLE> wanted{end};
    if (pipe.event() != nullptr) wanted.push_back(pipe.event());
    if (input != nullptr) wanted.push_back(input);
    for (;;) {
      const DWORD found =
          WaitForMultipleObjects(static_cast<DWORD>(wanted.size()), wanted.data(), FALSE, INFINITE);
      if (found >= wanted.size() || wanted[found] == end) break;
      if (wanted[found] == pipe.event()) {
        pipe.proceed();
      } else if (!readKey()) {
        wanted.pop_back();
      }
    }
    if (pipe.event() != nullptr) pipe.finish();
  }

  // The line is edited here, because reading a whole line can't be interrupted. False if there is no console.
  bool readKey()
  {
    INPUT_RECORD record{};
    DWORD count = 0;
    if (ReadConsoleInputW(input, &record, 1, &count) == 0) return false;
    if (record.EventType != KEY_EVENT || record.Event.KeyEvent.bKeyDown == 0) return true;
    try {
      for (WORD key = 0; key < record.Event.KeyEvent.wRepeatCount; ++key) {
        press(record.Event.KeyEvent.uChar.UnicodeChar);
      }
    } catch (const std::bad_alloc&) {
      line.clear();  // the recording goes on without this marker
    }
    return true;
  }

  void press(wchar_t character)
  {
    if (character == L'\r') {
      echo(L"\r\n");
      typed(host::uptime(), narrow(line));
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

  LineTaker typed;
  MarkerPipe pipe;
  const HANDLE input = console();
  HANDLE end = nullptr;
  std::wstring line;
  std::thread thread;
};

MarkerInput::MarkerInput(MarkerQueue& markers, const std::filesystem::path& fifo, LineTaker typed)
    : reader_(std::make_unique<Reader>(markers, fifo, typed ? std::move(typed) : markersInto(markers)))
{
}

MarkerInput::~MarkerInput() = default;
