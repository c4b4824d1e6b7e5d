// How close the configuration reader comes to what cannot be saved: filling the maps that it answers from. Each run
// reads one large file with ConfigFile, fills equal maps from texts that are ready, and passes over the file with fgets
// alone. Counters: MB/s of the reader, its time against filling the maps, and the share that fgets alone would take.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

#include "bench/bench_run.h"
#include "config/ConfigFile.h"

namespace {

using Sections = decltype(ConfigFileImpl::m_sections);

struct Setting {
  std::string section;
  std::string name;
  std::string value;
};

class LargeFile {
 public:
  explicit LargeFile(std::int64_t settings) : m_path(std::filesystem::temp_directory_path() / name()) {
    std::ofstream file(m_path, std::ios::binary);
    for (std::int64_t i = 0; i < settings; ++i) {
      const std::int64_t section = i / 100;
      if (i % 100 == 0) file << "[section" << section << "]\n# a comment line of the usual length, skipped when read\n";
      m_settings.push_back({"section" + std::to_string(section), "name" + std::to_string(i % 100),
                            "a value of the usual length " + std::to_string(i)});
      file << m_settings.back().name << " = " << m_settings.back().value << "\n";
    }
  }
  ~LargeFile() { std::filesystem::remove(m_path); }
  const char* path() const { return m_path.c_str(); }
  double megabytes() const { return static_cast<double>(std::filesystem::file_size(m_path)) / 1e6; }
  const std::vector<Setting>& settings() const { return m_settings; }

 private:
  static std::string name() { return "config_bench." + std::to_string(getpid()); }

  std::filesystem::path m_path;
  std::vector<Setting> m_settings;
};

void fillMaps(const std::vector<Setting>& settings) {
  Sections sections;
  for (const Setting& setting : settings)
    sections[setting.section][setting.name] = setting.value;
  benchmark::DoNotOptimize(sections);
}

void passOver(const char* path) {
  std::FILE* file = std::fopen(path, "r");
  char piece[1024];
  while (std::fgets(piece, sizeof piece, file) != nullptr)
    benchmark::DoNotOptimize(piece);
  std::fclose(file);
}

void readLargeFile(benchmark::State& state) {
  const LargeFile file(state.range(0));
  double reading = 0, filling = 0, passing = 0;
  while (state.KeepRunning()) {
    reading += zrbench::secondsFor([&] { ConfigFile{file.path()}; });
    filling += zrbench::secondsFor([&] { fillMaps(file.settings()); });
    passing += zrbench::secondsFor([&] { passOver(file.path()); });
  }
  state.counters["MB/s"] = file.megabytes() * static_cast<double>(state.iterations()) / reading;
  state.counters["reading/filling"] = reading / filling;
  state.counters["fgets/reading"] = passing / reading;
}
BENCHMARK(readLargeFile)->Arg(1000)->Arg(1000000)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  return zrbench::run(argc, argv);
}
