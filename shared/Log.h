// The log: each logged object has its own file in the folder "log".
//
// One manager serves the process. The host creates it and passes it to each plug-in, whose code uses the
// host's objects directly: the order of the fields below is a contract between host and plug-in, which must
// both be built from this header with the same compiler and standard library.
//
// A statement reads `currentLogManager->node(this, 1) << L"count " << count << L"\n";`. The file contains
// exactly what is inserted: no time, no level, no added newlines. Each item is on disk when its insertion
// returns, so the file survives a crash.
//
// Levels: 1 normal trace, 2 detail; a system level of 0 or below creates no file and writes nothing.
// Threads: one at a time. Even `node` changes the map.
#pragma once

#include <cstdint>
#include <fstream>
#include <map>
#include <string>

class LogManager {
 public:
  // The log of one object.
  class Node {
   public:
    Node() = default;

    // Opens the file and writes its two header lines, unless the log is turned off. `keepOpen` leaves the
    // file open between insertions. Throws a std::wstring if the file can't be created.
    Node(const LogManager& manager, const std::wstring& fileName, bool keepOpen);

    // Copies everything except the stream, which starts closed, or is opened again with `keepOpen`.
    Node(const Node& other);
    Node& operator=(const Node&) = delete;
    virtual ~Node() = default;

    // True if the node can take an insertion now. Opens the file if it is closed.
    bool ensureOpen();

    // Writes one item if the level allows it. An item that can't be written is silently lost.
    template <class Item>
    Node& operator<<(const Item& item)
    {
      if (level_ > systemLevel_) return *this;
      if (!ensureOpen()) return *this;
      stream_ << item;
      if (!keepOpen_) close();
      return *this;
    }

   private:
    void open();
    void close();

    std::wofstream stream_;
    std::int32_t level_ = 0;
    std::wstring fileName_;
    bool keepOpen_ = false;
    std::int32_t systemLevel_ = 0;
  };

  // Deletes the log files of the previous run, whatever the level: logs are kept for one run of the host.
  explicit LogManager(std::int32_t systemLevel);
  LogManager(const LogManager&) = delete;
  LogManager& operator=(const LogManager&) = delete;
  ~LogManager() = default;

  // Registers an object and creates its log `<name>_<address>.log`. An address that is already registered
  // keeps its entry. Throws a std::wstring if the file can't be created.
  void add(const void* object, const std::wstring& name);

  // Closes the object's log for good.
  void remove(const void* object);

  // Inserts a text where nothing may be thrown, as in a destructor: the text is lost if memory is exhausted
  // or writing fails.
  void logQuietly(const void* object, std::int32_t level, const wchar_t* text) noexcept;

  // The node to insert into, valid until the object is removed. A level above the system level returns a
  // silent node; an object that was never added has a silent node.
  Node& node(const void* object, std::int32_t level) { return level > systemLevel_ ? silent_ : node(object); }
  Node& node(const void* object) { return nodes_[object]; }

 private:
  std::map<const void*, Node> nodes_;
  Node silent_;
  std::int32_t systemLevel_;
};

// The manager that statements use: set by the host or by `logManager`. Not owned.
extern LogManager* currentLogManager;

// The process's own manager, for programs that get none from a host: created by the first call with a level
// of 0 or above while no manager is set, destroyed at exit. Reports an assertion if there is none to return;
// a manager that was set from outside is ignored here.
LogManager* logManager(std::int32_t level);
