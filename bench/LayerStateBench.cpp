// Layer states on drawings of 1,000, 10,000 and 100,000 layers: capture, save, load, the match
// flag, restore, and .las export and import. Each figure is also given per layer ("per_layer"),
// so that linear growth shows as a constant.
#include "layerstate/CTvLayerStateManager.h"
#include "snapshot/CKdadLayerP.h"

#include "tv/KdDbDatabase.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"
#include "tv/KdEdEditor.h"
#include "tv/KdUtf8.h"

#include <benchmark/benchmark.h>

#include <unistd.h>

#include <cstdio>
#include <map>
#include <memory>
#include <string>

namespace {

/// A drawing of `n` layers with varied colours (every fifth a true colour), lineweights,
/// frozen, locked and off layers; and a manager on it holding one state of all its layers.
struct Drawing {
    explicit Drawing(int n) : layers(n) {
        KdDbLayerTable* table = nullptr;
        db.getLayerTable(table, KdDb::kForWrite);
        static const int kWeights[] = {-3, 0, 13, 25, 35, 50, 70};
        for (int i = 1; i < n; ++i) {
            auto* rec = new KdDbLayerTableRecord;
            rec->setName((L"L-" + std::to_wstring(i) + L"-WALL").c_str());
            KdCmColor c;
            if (i % 5 == 0)
                c.setRGB(static_cast<uint8_t>(i), static_cast<uint8_t>(i >> 8), 77);
            else
                c.setColorIndex(static_cast<uint16_t>(1 + i % 254));
            rec->setColor(c);
            rec->setLineWeight(static_cast<KdDb::LineWeight>(kWeights[i % 7]));
            rec->setIsFrozen(i % 11 == 0);
            rec->setIsLocked(i % 13 == 0);
            rec->setIsOff(i % 17 == 0);
            KdDbObjectId id;
            table->add(id, rec);
            rec->close();
        }
        table->close();
        kdedSetCurrentDatabase(&db);
        manager.setDatabase(&db);
        manager.load();
        state = manager.newState(L"ALL", L"every layer");
    }
    ~Drawing() { kdedDatabaseClosed(&db); }

    int layers;
    KdDbDatabase db;
    CTvLayerStateManager manager;
    CTvLayerState* state = nullptr;
};

/// One drawing per size, made on first use and kept for the run.
Drawing& drawing(int n) {
    static std::map<int, std::unique_ptr<Drawing>> drawings;
    auto& d = drawings[n];
    if (!d)
        d = std::make_unique<Drawing>(n);
    kdedSetCurrentDatabase(&d->db);
    return *d;
}

void perLayer(benchmark::State& s, int n) {
    s.counters["layers"] = n;
    s.counters["per_layer"] =
        benchmark::Counter(static_cast<double>(n), benchmark::Counter::kIsIterationInvariantRate |
                                                       benchmark::Counter::kInvert);
}

void BM_Capture(benchmark::State& s) {
    Drawing& d = drawing(static_cast<int>(s.range(0)));
    for (auto _ : s)
        benchmark::DoNotOptimize(d.manager.newState(L"CAPTURED", L""));
    d.manager.deleteState(L"CAPTURED");
    perLayer(s, d.layers);
}

void BM_Save(benchmark::State& s) {
    Drawing& d = drawing(static_cast<int>(s.range(0)));
    for (auto _ : s)
        benchmark::DoNotOptimize(d.manager.save());
    perLayer(s, d.layers);
}

void BM_Load(benchmark::State& s) {
    Drawing& d = drawing(static_cast<int>(s.range(0)));
    d.manager.save();
    for (auto _ : s) {
        CTvLayerStateManager fresh;
        fresh.setDatabase(&d.db);
        benchmark::DoNotOptimize(fresh.load());
    }
    perLayer(s, d.layers);
}

void BM_MatchFlag(benchmark::State& s) {
    Drawing& d = drawing(static_cast<int>(s.range(0)));
    for (auto _ : s)
        benchmark::DoNotOptimize(d.manager.computeMatch(d.state));
    perLayer(s, d.layers);
}

/// Restores two states in turn that differ in every layer's colour, so that every restore
/// writes every layer back.
void BM_Restore(benchmark::State& s) {
    Drawing& d = drawing(static_cast<int>(s.range(0)));
    CTvLayerState* other = d.manager.findState(L"RED");
    if (!other) {
        other = d.manager.newState(L"RED", L"");
        for (auto& info : *d.manager.layersOf(other)) {
            info->setColor(1);
            info->setTrueColor(kTvNoTrueColor);
        }
    }
    d.manager.setRestoreBoxes(kTvMaskAll);
    bool flip = false;
    for (auto _ : s) {
        benchmark::DoNotOptimize(d.manager.restore(flip ? d.state : other));
        flip = !flip;
    }
    d.manager.restore(d.state);
    perLayer(s, d.layers);
}

std::string lasPath(int n) {
    return "/tmp/tv_bench_" + std::to_string(::getpid()) + "_" + std::to_string(n) + ".las";
}

void BM_LasExport(benchmark::State& s) {
    Drawing& d = drawing(static_cast<int>(s.range(0)));
    const std::wstring path = tvFromUtf8(lasPath(d.layers));
    for (auto _ : s)
        benchmark::DoNotOptimize(d.manager.exportState(path, d.state));
    perLayer(s, d.layers);
}

void BM_LasImport(benchmark::State& s) {
    Drawing& d = drawing(static_cast<int>(s.range(0)));
    const std::wstring path = tvFromUtf8(lasPath(d.layers));
    d.manager.exportState(path, d.state);
    for (auto _ : s) {
        CTvLayerStateManager fresh;
        fresh.setDatabase(&d.db);
        benchmark::DoNotOptimize(fresh.importLas(path));
    }
    std::remove(lasPath(d.layers).c_str());
    perLayer(s, d.layers);
}

#define TV_SIZES ->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)
BENCHMARK(BM_Capture) TV_SIZES;
BENCHMARK(BM_Save) TV_SIZES;
BENCHMARK(BM_Load) TV_SIZES;
BENCHMARK(BM_MatchFlag) TV_SIZES;
BENCHMARK(BM_Restore) TV_SIZES;
BENCHMARK(BM_LasExport) TV_SIZES;
BENCHMARK(BM_LasImport) TV_SIZES;

} // namespace

BENCHMARK_MAIN();
