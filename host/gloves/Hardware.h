// The plug-in with its log and hardware object, for one connection: from loading to unloading.
// Threads: one, except for the callback of open(). Errors: a Failure with the plug-in's message and advice.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "HwPlugins/HwTessel/Settings.h"
#include "host/base/Failure.h"
#include "host/gloves/Plugin.h"
#include "host/gloves/RecordSource.h"

// The gloves to connect to. For one glove, the plug-in takes the first that it finds.
enum class Gloves { both, one, left, right };

class Hardware final : public RecordSource {
 public:
  struct Parts {
    std::filesystem::path plugin;  // empty: the default one
    std::filesystem::path settingsFile;
    settings::Values settings;  // as read from it
    Gloves gloves;
    std::filesystem::path logFolder;  // existing logs in it are deleted
    bool isLogged;
    bool isSimulated;
    LinkWatch::Time patience;
    std::function<void()> onLoaded;
  };

  // Loads the plug-in and creates the hardware object; opens no port.
  explicit Hardware(const Parts& parts);
  Hardware(const Hardware&) = delete;
  Hardware& operator=(const Hardware&) = delete;

  // Opens the link to the gloves, which takes 1 to 15 seconds; calls `goesOn` before it and, on another
  // thread, several times a second meanwhile. When it returns false, opening ends early with
  // Failure(interrupted); what it throws is thrown here. Also fails if the glove found is of the wrong side.
  using GoesOn = std::function<bool()>;
  void open(const GoesOn& goesOn);

  bool read() override;
  void close() override;
  const plugin::RecordStore& store() const override { return *store_; }
  const LinkWatch& link() const override { return link_; }
  Failure linkFailure(LinkWatch::Verdict verdict) const override;
  std::optional<double> battery() override;

  // Names of the connected gloves, in the order of the records.
  std::vector<std::string> askModules();
  // The settings that the plug-in uses.
  const settings::Values& settings() const { return settings_; }
  // The reply to a text command; a Failure if there is none. The plug-in answers an unknown command with its
  // previous reply, if there was one.
  std::string ask(const std::string& text);

 private:
  std::wstring reply(const std::string& command);
  void makeObject(const std::filesystem::path& settings);
  void checkSide();

  // Used by the plug-in, so they must outlive its objects.
  struct Services {
    folder::FolderMap folders;
    std::unique_ptr<LogManager> log;

    ~Services();
  };

  const settings::Values settings_;
  const Gloves gloves_;
  const bool isSimulated_;
  // Unloaded last: the log manager must end while the plug-in that used it is still there.
  std::unique_ptr<plugin::Library> plugin_;
  Services services_;
  std::unique_ptr<plugin::RecordStore> store_;
  std::unique_ptr<HwInterface, plugin::Library::Released> hardware_;
  LinkWatch link_;
};
