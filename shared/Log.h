// The log: each logged object has a file of its own, in the folder "log".
//
// One manager serves the process. The host builds it and hands it to each plug-in, whose code works on the
// host's objects directly: the order of the fields below is a contract between host and plug-in, which must
// both be built from this header with the same compiler and standard library.
//
// A statement reads `currentLogManager->node(this, 1) << L"count " << count << L"\n";`. What is inserted is
// what stands in the file: no time, no level, no line ends but those inserted. Each item is on disk when its
// insertion returns, so the file survives a crash.
//
// Levels: 1 normal trace, 2 detail; a system level of 0 or below makes no file and writes nothing.
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

    // Opens the file and writes its two header lines; with the log turned off does neither. `keepOpen` leaves
    // the file open between insertions. Throws a std::wstring if the file can't be created.
    Node(const LogManager& manager, const std::wstring& fileName, bool keepOpen);

    // Copies all but the stream, which starts closed, or opened anew with `keepOpen`.
    Node(const Node& other);
    Node& operator=(const Node&) = delete;
    virtual ~Node() = default;

    // True when the node can take an insertion now. Opens the file if it is closed.
    bool ensureOpen();

    // Writes one item if the level allows it. An item that can't be written is lost in silence.
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

  // Deletes the log files of the run before, whatever the level: logs live for one run of the host.
  explicit LogManager(std::int32_t systemLevel);
  LogManager(const LogManager&) = delete;
  LogManager& operator=(const LogManager&) = delete;
  ~LogManager() = default;

  // Registers an object and creates its log `<name>_<address>.log`. The first registration of an address
  // stands. Throws a std::wstring if the file can't be created.
  void add(const void* object, const std::wstring& name);

  // Closes the object's log for good.
  void remove(const void* object);

  // Inserts a text where nothing may be thrown, as in a destructor: a text that memory or the system can't
  // take is lost.
  void logQuietly(const void* object, std::int32_t level, const wchar_t* text) noexcept;

  // The node to insert into, valid until the object is removed. A level above the system's yields a silent
  // node; an object that was never added gets a silent node for good.
  Node& node(const void* object, std::int32_t level) { return level > systemLevel_ ? silent_ : node(object); }
  Node& node(const void* object) { return nodes_[object]; }

 private:
  std::map<const void*, Node> nodes_;
  Node silent_;
  std::int32_t systemLevel_;
};

// The manager that statements go to: set by the host, or by `logManager`. Not owned.
extern LogManager* currentLogManager;

// The process's own manager, for programs that no host gives one: created by the first call with a level of 0
// or above while no manager is set, destroyed at exit. Reports an assertion if there is none to return; a
// manager that was set from outside is not seen here.
LogManager* logManager(std::int32_t level);
