// The plug-in with its settings, log and hardware object, from loading to release; also runs simulated gloves
// if requested. Threads: one. Errors: a Failure with the plug-in's message and advice.
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
#include "host/gloves/Plugin.h"
#include "host/gloves/RecordSource.h"
#include "host/gloves/SimulatedGloves.h"

// The gloves to connect to. For one glove, the plug-in takes the first that it finds.
enum class Gloves { both, one, left, right };

struct HardwareOptions {
  std::filesystem::path plugin;    // empty: the default one
  std::filesystem::path settings;  // empty: written for the gloves
  Gloves gloves = Gloves::both;
  std::filesystem::path logFolder;  // empty: no log
  bool isSimulated = false;
  std::filesystem::path scenario;  // of the simulation; empty: none
};

class Hardware final : public RecordSource {
 public:
  // Loads the plug-in and creates the hardware object; opens no port. Prints errors and warnings of the
  // settings file on standard error.
  explicit Hardware(const HardwareOptions& options);
  Hardware(const Hardware&) = delete;
  Hardware& operator=(const Hardware&) = delete;

  // Opens the link to the gloves, which takes 1 to 15 seconds. Fails early on a stop request; also fails if
  // the glove found is of the wrong side.
  void open(StopRequest& stopRequest);

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
  std::filesystem::path settingsFile(const HardwareOptions& options);
  void makeObject(const std::filesystem::path& settings);
  void checkSide();

  // Used by the plug-in, so they must outlive its objects.
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
