// A recording that is large, but takes no disk space.
#pragma once

#include <filesystem>
#include <string>

#include "tests/support/TemporaryFolder.h"

// Makes the folder one of arrays: a gigabyte of samples, in sparse files.
inline void writeSparseRecording(const TemporaryFolder& folder)
{
  const std::string magic("\x93NUMPY\x01\x00", 8);
  const std::string samples = "{'descr': '<u2', 'fortran_order': False, 'shape': (0, 1024), }\n";
  folder.write("samples.npy", magic + static_cast<char>(samples.size()) + '\0' + samples);
  std::filesystem::resize_file(folder / "samples.npy", 1 << 30);
  const std::string times = "{'descr': '<u4', 'fortran_order': False, 'shape': (0,), }\n";
  folder.write("stamps.npy", magic + static_cast<char>(times.size()) + '\0' + times);
  std::filesystem::resize_file(folder / "stamps.npy", 4 << 20);
  folder.write("meta.json", R"({"format":"tessel-recording","version":1,"groups":[
      {"label":"left","first":0,"count":1024}]})");
}
