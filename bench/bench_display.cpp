// One frame of the 3-D view, drawn offscreen with software rendering at the
// window's default pane size (1152 x 831): a whole stored run of 600 records
// (30 s at 0.05 s, the vehicle shown 31 times along it) and a single state.
// Each iteration ends with glFinish, so the time is that of a finished frame.
// The software renderer draws on worker threads, so the benchmark's own CPU
// column misses most of the work; the counter cpu_ms_all_threads gives the
// processor time of the whole process per frame, which is also less
// disturbed than the wall time on a busy machine.
#include <benchmark/benchmark.h>

#include <sys/resource.h>

#include <cmath>
#include <memory>
#include <vector>

#include "display/camera.h"
#include "display/display.h"
#include "display/offscreen.h"
#include "display/viewstack.h"
#include "display/glapi.h"
#include "sim/params.h"

namespace {
BuiltInScenario scenario;
Vehicle& vehicle = scenario.vehicle;
Stvehicle3dof& stvehicle3dof0 = scenario.stvehicle3dof0;
}  // namespace

namespace {

double fSCpuProcess() {
    struct rusage ru;
    getrusage(RUSAGE_SELF, &ru);
    return static_cast<double>(ru.ru_utime.tv_sec + ru.ru_stime.tv_sec) +
           1e-6 * static_cast<double>(ru.ru_utime.tv_usec + ru.ru_stime.tv_usec);
}

void setCpuCounter(benchmark::State& state, double fSCpu0) {
    state.counters["cpu_ms_all_threads"] = benchmark::Counter(
        (fSCpuProcess() - fSCpu0) * 1e3 / static_cast<double>(state.iterations()));
}

constexpr Long iPxDXPane = 1152;
constexpr Long iPxDYPane = 831;

// A hop like the bundled one: 12 s of flight over 22 m, up to 10 m, burning
// 4.5 kg, then 18 s at rest on the far plain.
struct HopRun {
    A1Val<double> arFTi{1, 600};
    A1Val<void*> arPSt{1, 600};
    std::vector<std::unique_ptr<Stvehicle3dof>> arPOwn;

    HopRun() {
        for (Long i = 1; i <= 600; ++i) {
            auto pst = std::make_unique<Stvehicle3dof>(stvehicle3dof0);
            const double fTi = 0.05 * (i - 1);
            const double u = std::min(fTi / 12.0, 1.0);
            pst->fXf = 22.0 * u;
            pst->fZf = 40.0 * u * (1.0 - u);
            pst->fPitch = 0.2 * std::sin(2.0 * M_PI * u);
            pst->fMs = 100.0 - 4.5 * u;
            pst->fFcThrustAct = u < 1.0 ? 500.0 + 300.0 * std::cos(2.0 * M_PI * u) : 0.0;
            arFTi[i] = fTi;
            arPSt[i] = pst.get();
            arPOwn.push_back(std::move(pst));
        }
    }
};

struct Scene {
    OffscreenGl offscreengl;
    Pane pane;
    XfmPFmC3c xfmPFmCHere;
    XfmCFmW3c xfmCFmWHere;

    bool bOpen() {
        pane.iPxDX = iPxDXPane;
        pane.iPxDY = iPxDYPane;
        xfmPFmCHere = xfmPFmC3cFm(pane);
        xfmCFmWHere = xfmCFmW3cDefaultFm(xfmPFmCHere);
        return offscreengl.bOpen(iPxDXPane, iPxDYPane);
    }
};

void BM_FrameOfRun600(benchmark::State& state) {
    Scene scene;
    if (!scene.bOpen()) {
        state.SkipWithError("no offscreen OpenGL");
        return;
    }
    HopRun run;
    const double fSCpu0 = fSCpuProcess();
    for (auto _ : state) {
        displayPathInPane(&scene.pane, &scene.xfmCFmWHere, &scene.xfmPFmCHere,
                          &scenario.arPArPPtVtxPgnGnd, &vehicle,
                          run.arFTi, run.arPSt);
        glFinish();
    }
    setCpuCounter(state, fSCpu0);
}
BENCHMARK(BM_FrameOfRun600)->Unit(benchmark::kMillisecond)->MinTime(2.0);

void BM_FrameOfState(benchmark::State& state) {
    Scene scene;
    if (!scene.bOpen()) {
        state.SkipWithError("no offscreen OpenGL");
        return;
    }
    Stvehicle3dof st = stvehicle3dof0;
    st.fXf = 5.0;
    st.fZf = 4.0;
    st.fFcThrustAct = 600.0;
    const double fSCpu0 = fSCpuProcess();
    for (auto _ : state) {
        displayStInPane(&scene.pane, &scene.xfmCFmWHere, &scene.xfmPFmCHere,
                        &scenario.arPArPPtVtxPgnGnd, &st);
        glFinish();
    }
    setCpuCounter(state, fSCpu0);
}
BENCHMARK(BM_FrameOfState)->Unit(benchmark::kMillisecond)->MinTime(2.0);

}  // namespace
