// Load and save speed and peak memory of the DXF reader and writer on large generated drawings.
#include <tv/KdDbDatabase.h>

#include "DxfGenerator.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

// Run as a child process: load one file and report the memory it took.
constexpr const char* kPeakLoadFlag = "--tv-peak-load";
constexpr const char* kSmallOnlyFlag = "--small-only";

struct Drawing {
    const char* label;
    int layers;
    int entities;
};
constexpr Drawing kSmall{"small", 2000, 200000};
constexpr Drawing kLarge{"large", 20000, 1000000};

double toMegabytes(std::uintmax_t bytes) {
    return static_cast<double>(bytes) / 1e6;
}

std::string dataFolder() {
    const char* folder = std::getenv("TV_BENCH_DATA");
    return folder && *folder ? folder : TV_BENCH_DATA_DIR;
}

// Path of a generated drawing, written on first use and kept in the data folder across runs.
// Empty on failure, with `error` set.
std::string drawingPath(int layers, int entities, std::string* error) {
    static std::map<std::pair<int, int>, std::string> paths;
    const auto known = paths.find({layers, entities});
    if (known != paths.end())
        return known->second;
    tvtools::DxfGeneratorOptions options;
    options.layers = layers;
    options.entities = entities;
    std::string path;
    if (!tvtools::ensureCachedDxf(options, dataFolder(), &path, error))
        return {};
    paths[{layers, entities}] = path;
    return path;
}

// ---- peak memory ---------------------------------------------------------------------------

struct ProcMemory {
    long long rssKb = -1;
    long long hwmKb = -1;
};

ProcMemory readProcMemory() {
    ProcMemory memory;
    std::FILE* status = std::fopen("/proc/self/status", "r");
    if (!status)
        return memory;
    char line[256];
    while (std::fgets(line, sizeof line, status)) {
        if (std::strncmp(line, "VmRSS:", 6) == 0)
            memory.rssKb = std::atoll(line + 6);
        else if (std::strncmp(line, "VmHWM:", 6) == 0)
            memory.hwmKb = std::atoll(line + 6);
    }
    std::fclose(status);
    return memory;
}

// The child's side. It is a fresh process (exec, not just fork), so its high-water mark holds
// this one load and nothing the benchmarks before it left in the heap.
int runPeakLoad(const char* path) {
    const ProcMemory before = readProcMemory();
    KdDbDatabase db(false);
    std::string error;
    const Kdad::ErrorStatus es = db.readDxfFile(path, &error);
    const ProcMemory after = readProcMemory();
    std::printf("%lld %lld %d\n", before.rssKb, after.hwmKb, static_cast<int>(es));
    return es == Kdad::eOk ? 0 : 1;
}

struct PeakLoad {
    bool ok = false;
    double megabytes = 0; // high-water mark of the load above the process size before it
    std::string error;
};

PeakLoad measurePeakLoad(const std::string& path) {
    PeakLoad result;
    int fds[2];
    if (::pipe(fds) != 0) {
        result.error = "pipe failed";
        return result;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, fds[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, fds[0]);
    std::string exe = "/proc/self/exe";
    std::string flag = kPeakLoadFlag;
    std::string file = path;
    char* argv[] = {exe.data(), flag.data(), file.data(), nullptr};
    pid_t pid = 0;
    const int spawned = posix_spawn(&pid, exe.c_str(), &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(fds[1]);
    std::string output;
    char buf[256];
    for (ssize_t n; (n = ::read(fds[0], buf, sizeof buf)) > 0;)
        output.append(buf, static_cast<std::size_t>(n));
    ::close(fds[0]);
    if (spawned != 0) {
        result.error = "cannot start a child process to measure memory";
        return result;
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    long long baseKb = -1;
    long long peakKb = -1;
    int es = -1;
    if (std::sscanf(output.c_str(), "%lld %lld %d", &baseKb, &peakKb, &es) != 3 || baseKb < 0 ||
        peakKb < 0 || es != Kdad::eOk || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        result.error = "memory probe failed on " + path + " (child said '" + output + "')";
        return result;
    }
    result.ok = true;
    result.megabytes = static_cast<double>(peakKb - baseKb) * 1024.0 / 1e6;
    return result;
}

// Once per file: Google Benchmark calls a benchmark function several times while it settles
// the iteration count.
const PeakLoad& peakLoadOf(const std::string& path) {
    static std::map<std::string, PeakLoad> measured;
    auto found = measured.find(path);
    if (found == measured.end())
        found = measured.emplace(path, measurePeakLoad(path)).first;
    return found->second;
}

// ---- benchmarks ----------------------------------------------------------------------------

// A drawing loaded once for the save benchmark and kept while its runs repeat.
struct LoadedDrawing {
    std::string path;
    std::unique_ptr<KdDbDatabase> db;
};

LoadedDrawing& loadedDrawing() {
    static LoadedDrawing loaded;
    return loaded;
}

bool timedLoads(benchmark::State& state, const std::string& path) {
    for (auto _ : state) {
        auto db = std::make_unique<KdDbDatabase>(false);
        std::string error;
        if (db->readDxfFile(path.c_str(), &error) != Kdad::eOk) {
            state.SkipWithError(("load failed: " + error).c_str());
            return false;
        }
        // Freeing the database is not part of a load.
        state.PauseTiming();
        db.reset();
        state.ResumeTiming();
    }
    return true;
}

void loadBenchmark(benchmark::State& state, const Drawing& drawing) {
    loadedDrawing() = {};
    std::string error;
    const std::string path = drawingPath(drawing.layers, drawing.entities, &error);
    if (path.empty()) {
        state.SkipWithError(error.c_str());
        return;
    }
    const std::uintmax_t bytes = std::filesystem::file_size(path);
    if (!timedLoads(state, path))
        return;
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(bytes));
    state.counters["file_MB"] = toMegabytes(bytes);
    const PeakLoad& peak = peakLoadOf(path);
    if (!peak.ok) {
        state.SkipWithError(peak.error.c_str());
        return;
    }
    state.counters["peak_MB"] = peak.megabytes;
    state.counters["peak_x_file"] = peak.megabytes / toMegabytes(bytes);
}

void saveBenchmark(benchmark::State& state, const Drawing& drawing) {
    std::string error;
    const std::string path = drawingPath(drawing.layers, drawing.entities, &error);
    if (path.empty()) {
        state.SkipWithError(error.c_str());
        return;
    }
    LoadedDrawing& loaded = loadedDrawing();
    if (loaded.path != path || !loaded.db) {
        loaded = {};
        auto db = std::make_unique<KdDbDatabase>(false);
        if (db->readDxfFile(path.c_str(), &error) != Kdad::eOk) {
            state.SkipWithError(("load failed: " + error).c_str());
            return;
        }
        loaded = {path, std::move(db)};
    }
    const std::filesystem::path out =
        std::filesystem::path(dataFolder()) / (std::string("saved-") + drawing.label + ".dxf");
    for (auto _ : state) {
        if (loaded.db->saveAs(out.c_str(), &error) != Kdad::eOk) {
            state.SkipWithError(("save failed: " + error).c_str());
            return;
        }
    }
    std::error_code ec;
    const std::uintmax_t bytes = std::filesystem::file_size(out, ec);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(ec ? 0 : bytes));
    state.counters["file_MB"] = toMegabytes(ec ? 0 : bytes);
    // saveAs keeps the file it replaces as NAME.bak.
    std::filesystem::remove(out, ec);
    std::filesystem::remove(std::filesystem::path(out).replace_extension(".bak"), ec);
}

// The small drawing at 1/4, 1/2 and full size: with a linear reader entities/s stays flat.
void linearityBenchmark(benchmark::State& state) {
    const int quarters = static_cast<int>(state.range(0));
    const int layers = kSmall.layers / 4 * quarters;
    const int entities = kSmall.entities / 4 * quarters;
    std::string error;
    const std::string path = drawingPath(layers, entities, &error);
    if (path.empty()) {
        state.SkipWithError(error.c_str());
        return;
    }
    const std::uintmax_t bytes = std::filesystem::file_size(path);
    if (!timedLoads(state, path))
        return;
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(bytes));
    state.counters["entities"] = entities;
    state.counters["entities_per_s"] =
        benchmark::Counter(entities, benchmark::Counter::kIsIterationInvariantRate);
}

void registerBenchmarks(bool smallOnly) {
    benchmark::RegisterBenchmark("LoadLinearity/quarters", linearityBenchmark)
        ->Arg(1)
        ->Arg(2)
        ->Arg(4)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    std::vector<Drawing> drawings{kSmall};
    if (!smallOnly)
        drawings.push_back(kLarge);
    for (const Drawing& drawing : drawings) {
        const std::string suffix = std::string("/") + drawing.label;
        benchmark::RegisterBenchmark(("Load" + suffix).c_str(),
                                     [drawing](benchmark::State& s) { loadBenchmark(s, drawing); })
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
        benchmark::RegisterBenchmark(("Save" + suffix).c_str(),
                                     [drawing](benchmark::State& s) { saveBenchmark(s, drawing); })
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], kPeakLoadFlag) == 0)
        return runPeakLoad(argv[2]);

    bool smallOnly = false;
    std::vector<char*> args;
    for (int i = 0; i < argc; ++i) {
        if (i > 0 && std::strcmp(argv[i], kSmallOnlyFlag) == 0)
            smallOnly = true;
        else
            args.push_back(argv[i]);
    }
    int count = static_cast<int>(args.size());
    args.push_back(nullptr);
    benchmark::Initialize(&count, args.data());
    if (benchmark::ReportUnrecognizedArguments(count, args.data()))
        return 1;
    registerBenchmarks(smallOnly);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
