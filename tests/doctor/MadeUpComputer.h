// The files of a computer with a dongle that can be used, for tests to change.
#pragma once

#include "tests/support/TemporaryFolder.h"

class MadeUpComputer {
 public:
  MadeUpComputer();

  const std::filesystem::path& root() const { return folder_.path(); }

  // Replaces what has this name.
  void write(const std::string& name, const std::string& content);
  void link(const std::string& name, const std::string& target);
  void remove(const std::string& name);
  void permit(const std::string& name, unsigned mode);

  void addUsb(const std::string& place, const std::string& vendor, const std::string& product,
              const std::string& text);
  void addTty(const std::string& place, const std::string& tty);
  // This user's id and groups in this process. Those of the port are other ids.
  void setIdentity(unsigned user, const std::string& groups);
  void addProcess(const std::string& id, const std::string& name, const std::string& openFile = "");

  unsigned user() const;       // not the owner of the port
  unsigned portGroup() const;  // "dialout"

 private:
  TemporaryFolder folder_;
};
