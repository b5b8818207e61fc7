// Shared by the tests of the embedded host.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "embedded/PFhost.h"

namespace pftest {

// A folder that goes with the object.
class ScratchFolder {
 public:
  ScratchFolder() : path_(std::filesystem::path(testing::TempDir()) / ("pf_" + std::to_string(Number()))) {
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
  }
  ~ScratchFolder() { std::filesystem::remove_all(path_); }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::string File(const std::string& name, const std::string& content) const {
    std::ofstream(path_ / name, std::ios::binary) << content;
    return (path_ / name).string();
  }

 private:
  static std::uint64_t Number() {
    static std::uint64_t last = reinterpret_cast<std::uintptr_t>(&last) ^ std::random_device{}();
    return ++last;
  }
  std::filesystem::path path_;
};

// Texts of the thread's kept reports, oldest first.
inline std::vector<std::string> ReportTexts() {
  std::vector<std::string> texts;
  PFhost_Report report;
  for (std::int32_t i = 0; PFhost_GetReport(i, &report) == 0; ++i) texts.emplace_back(report.text);
  return texts;
}

// The host and the library, running on `threads` threads for as long as the object lives.
class RunningHost {
 public:
  explicit RunningHost(std::int32_t threads) {
    PFhost_ClearReports();
    PFhost_Options options = {};
    options.threads = threads;
    EXPECT_EQ(PFhost_Start(&options), 0);
  }
  ~RunningHost() { EXPECT_EQ(PFhost_Stop(), 0); }
  RunningHost(const RunningHost&) = delete;
  RunningHost& operator=(const RunningHost&) = delete;
};

}  // namespace pftest
