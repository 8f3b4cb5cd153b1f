// The gloves as the program has them: the plug-in, its settings, log and hardware object, from loading to
// release; with simulated gloves if they are wanted.
// Threads: one. Errors: a Failure with the plug-in's words and what to do.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "HwPlugins/HwTessel/Settings.h"
#include "host/base/Failure.h"
#include "host/base/ScratchFolder.h"
#include "host/base/StopRequest.h"
#include "host/gloves/LinkWatch.h"
#include "host/gloves/Plugin.h"
#include "host/gloves/SimulatedGloves.h"
#include "shared/RecordStore.h"

// Those to connect to. The plug-in takes whichever glove it hears when it wants one.
enum class Gloves { both, one, left, right };

struct HardwareOptions {
  std::filesystem::path plugin;    // empty: the one beside the program
  std::filesystem::path settings;  // empty: made for the gloves
  Gloves gloves = Gloves::both;
  std::filesystem::path logFolder;  // empty: no log
  bool isSimulated = false;
  std::filesystem::path scenario;  // of the simulation; empty: none
};

class Hardware {
 public:
  // Loads the plug-in and makes the hardware object; touches no port. Says on standard error what is doubtful
  // about the settings.
  explicit Hardware(const HardwareOptions& options);
  Hardware(const Hardware&) = delete;
  Hardware& operator=(const Hardware&) = delete;

  // Opens the link to the gloves; takes from one to some fifteen seconds. An interruption makes it fail soon,
  // and so does a glove of the other side than the one wanted.
  void open(StopRequest& stopRequest);

  // One turn of the plug-in, up to a second or two long. True if there is a new record in the store; a
  // Failure if the link is gone. Reads go on after a pause of this computer.
  bool read();
  const LinkWatch& link() const { return link_; }
  // What to report if the link is no more than that.
  Failure linkFailure(LinkWatch::Verdict verdict) const;
  const plugin::RecordStore& store() const { return *store_; }

  // Names of the gloves found, in the order of the records.
  std::vector<std::string> askModules();
  // What the plug-in has been given.
  const settings::Values& settings() const { return settings_; }
  // The answer to a text command; a Failure if the plug-in has none. A text that it does not know has the
  // answer of the command before, if there was any.
  std::string ask(const std::string& text);
  // From 0 to 1, the lower one of two gloves; nothing while it is not known.
  std::optional<double> battery();

 private:
  std::wstring reply(const std::string& command);
  std::filesystem::path settingsFile(const HardwareOptions& options);
  void makeObject(const std::filesystem::path& settings);
  void checkSide();

  // What the plug-in works with, for as long as it has objects.
  struct Services {
    folder::FolderMap folders;
    std::unique_ptr<LogManager> log;

    ~Services();
  };

  const Gloves gloves_;
  settings::Values settings_;
  ScratchFolder scratch_;
  Services services_;
  std::unique_ptr<SimulatedGloves> simulated_;
  std::unique_ptr<plugin::Library> plugin_;
  std::unique_ptr<plugin::RecordStore> store_;
  std::unique_ptr<HwInterface, plugin::Library::Released> hardware_;
  LinkWatch link_;
};
