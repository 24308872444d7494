// Flying a landing-dispersion campaign (see campaign.h).
#include "mc/campaign.h"

#include <chrono>
#include <memory>
#include <cmath>
#include <numbers>
#include <thread>

#include "sim/fltsim.h"


namespace {

// Copies src into dst, re-using dst's block when the size is the same.
void copyArray(A1Val<double>* parDst, A1Val<double> const& arSrc) {
    parDst->reconstructIFirstILast(arSrc.iFirst(), arSrc.iLast());
    for (Long i = arSrc.iFirst(); i <= arSrc.iLast(); i++) (*parDst)[i] = arSrc[i];
}

// The sensor noise of one run: every update draws from its own stream.
class McSensorNoise final : public GuidanceNoise {
public:
    McSensorNoise(McGuided const& guided, Long iRunIn) : g(guided), iRun(iRunIn) {}
    void addNoise(Long iUpdate, GuidanceMeas* pmeas) override {
        McRng rng = mcRngForSensor(g.uRngSeed, iRun, iUpdate);
        pmeas->fXf += fDrawFromRng(g.arPertSensor[mcSensorPosition], &rng);
        pmeas->fZf += fDrawFromRng(g.arPertSensor[mcSensorPosition], &rng);
        pmeas->fVeXf += fDrawFromRng(g.arPertSensor[mcSensorVelocity], &rng);
        pmeas->fVeZf += fDrawFromRng(g.arPertSensor[mcSensorVelocity], &rng);
        pmeas->fPitch += fDrawFromRng(g.arPertSensor[mcSensorPitch], &rng);
        pmeas->fPitchDot += fDrawFromRng(g.arPertSensor[mcSensorPitchRate], &rng);
    }

private:
    McGuided const& g;
    Long iRun;
};

bool bAnySensorNoise(McGuided const& guided) {
    for (int j = 0; j < nMcSensor; j++)
        if (guided.arPertSensor[j].fSd != 0.0) return true;
    return false;
}

}  // namespace

const char* szMcStop(Long iStop) {
    switch (iStop) {
        case mcStopEnd: return "end";
        case mcStopRest: return "rest";
        case mcStopStep: return "step";
        case mcStopUnphysical: return "unphysical";
        default: return "?";
    }
}

void readMcSchedule(McSchedule* psched, std::FILE* pfile, const char* szFile) {
    readCmdsFromPFILE(&psched->arFTiCmd, &psched->arFFcThrustCmd, &psched->arFMmPitchCmd, pfile,
                      szFile);
}

McInputs mcInputsForRun(McDispersion const& disp, Long iRun) {
    McInputs inputs;
    for (int j = 0; j < nMcParam; j++)
        inputs.arFDev[j] = fDrawPerturbation(disp.arPert[j], disp.uRngSeed, iRun, j);
    return inputs;
}

McRunResult mcRunFly(Scenario& sc, McSchedule const& sched, McInputs const& inputs, Long iRun,
                     McWork* pwork, McGuided const* pguided, bool bKeepRecords,
                     SimReport* preport) {
    const double* arFDev = inputs.arFDev;
    McRunResult res{};
    res.iRun = iRun;
    for (int j = 0; j < nMcParam; j++) res.arFDev[j] = arFDev[j];

    // 1. This run's schedule: thrusts scaled, moments biased, times delayed.
    // A deviation of exactly 0 leaves the column untouched (adding 0.0 would
    // turn a -0.0 into +0.0). A guided run does not read the schedule: its
    // command errors go to the command source (step 4).
    McSchedule& schedRun = pwork->sched;
    copyArray(&schedRun.arFTiCmd, sched.arFTiCmd);
    copyArray(&schedRun.arFFcThrustCmd, sched.arFFcThrustCmd);
    copyArray(&schedRun.arFMmPitchCmd, sched.arFMmPitchCmd);
    const bool bGuided = pguided != nullptr;
    const Long iFirst = schedRun.arFTiCmd.iFirst();
    const Long iLast = schedRun.arFTiCmd.iLast();
    if (!bGuided && arFDev[mcParamThrustScale] != 0.0)
        for (Long i = iFirst; i <= iLast; i++)
            schedRun.arFFcThrustCmd[i] = schedRun.arFFcThrustCmd[i] * (1.0 + arFDev[mcParamThrustScale]);
    if (!bGuided && arFDev[mcParamMomentBias] != 0.0)
        for (Long i = iFirst; i <= iLast; i++)
            schedRun.arFMmPitchCmd[i] = schedRun.arFMmPitchCmd[i] + arFDev[mcParamMomentBias];
    if (!bGuided && arFDev[mcParamCommandDelay] != 0.0)
        for (Long i = iFirst; i <= iLast; i++)
            schedRun.arFTiCmd[i] = schedRun.arFTiCmd[i] + arFDev[mcParamCommandDelay];

    // 2. This run's vehicle and planet.
    Planet planetRun = sc.planet;
    Vehicle vehicleRun = sc.vehicle;
    if (arFDev[mcParamExhaustSpeed] != 0.0)
        vehicleRun.fIsp = vehicleRun.fIsp + arFDev[mcParamExhaustSpeed];
    if (arFDev[mcParamDragScale] != 0.0) {
        vehicleRun.fCdAX = vehicleRun.fCdAX * (1.0 + arFDev[mcParamDragScale]);
        vehicleRun.fCdAZ = vehicleRun.fCdAZ * (1.0 + arFDev[mcParamDragScale]);
    }

    // 3. The initial state, in the integrator's order (x, z, pitch, vx, vz,
    // pitch rate, mass).
    A1Val<double>& arFStateIC = pwork->arFStateIC;
    stateFmStvehicle3dof(&arFStateIC, sc.stvehicle3dof0);
    if (arFDev[mcParamInitialPitch] != 0.0) arFStateIC[3] = arFStateIC[3] + arFDev[mcParamInitialPitch];
    if (arFDev[mcParamInitialVx] != 0.0) arFStateIC[4] = arFStateIC[4] + arFDev[mcParamInitialVx];
    if (arFDev[mcParamInitialPitchRate] != 0.0)
        arFStateIC[6] = arFStateIC[6] + arFDev[mcParamInitialPitchRate];
    if (arFDev[mcParamInitialMass] != 0.0) arFStateIC[7] = arFStateIC[7] + arFDev[mcParamInitialMass];

    res.fTiRest = 0.0;
    res.fXfRest = arFStateIC[1];
    res.fZfRest = arFStateIC[2];
    res.fPitchRest = arFStateIC[3];
    if (!(arFStateIC[7] > 0.0) || !(vehicleRun.fIsp > 0.0) || vehicleRun.fCdAX < 0.0 ||
        vehicleRun.fCdAZ < 0.0) {
        res.iStop = mcStopUnphysical;
        res.fMsPropLeft = arFStateIC[7] - vehicleRun.fMsEmpty;
        return res;
    }

    // 4. The flight.
    const FlightSettings fs;
    ArFFnFArFModel model(&planetRun, &vehicleRun, &sc.arPArPPtVtxPgnGnd, fs.fDTiData,
                         schedRun.arFTiCmd, schedRun.arFFcThrustCmd, schedRun.arFMmPitchCmd);
    std::unique_ptr<GuidedCmds> pcmds;
    std::unique_ptr<McSensorNoise> pnoise;
    if (bGuided) {
        pcmds = std::make_unique<GuidedCmds>(*pguided->pref, pguided->gains, sc.vehicle,
                                             sc.planet.fAcG);
        pcmds->fFcThrustScale = 1.0 + arFDev[mcParamThrustScale];
        pcmds->fMmPitchBias = arFDev[mcParamMomentBias];
        pcmds->fDTiDelay = arFDev[mcParamCommandDelay];
        // Run 0 is the undispersed flight: no noise either.
        if (iRun != 0 && bAnySensorNoise(*pguided)) {
            pnoise = std::make_unique<McSensorNoise>(*pguided, iRun);
            pcmds->pnoise = pnoise.get();
        }
        model.pcmdsource = pcmds.get();
    }
    SimReport report;
    sim(&pwork->arFTiData, &pwork->arPStvehicle, &model, fs.fTiIC, arFStateIC, fs.fTiMax,
        fs.fDTiData, fs.fDTiStepMin, fs.iNStepMax, fs.fTolIntg, fs.fTolIntg, fs.fTolIntg,
        fs.fTolIntg, fs.fTolIntg, &report, bKeepRecords ? SimRecords::All : SimRecords::LastOnly);

    // 5. The outcome, from the last record and the driver's report.
    const Long iLastRecord = pwork->arPStvehicle.iLast();
    Stvehicle3dof const& stRest = *static_cast<Stvehicle3dof*>(pwork->arPStvehicle[iLastRecord]);
    res.fTiRest = pwork->arFTiData[iLastRecord];
    res.fXfRest = stRest.fXf;
    res.fZfRest = stRest.fZf;
    res.fPitchRest = stRest.fPitch;
    res.fMsPropLeft = stRest.fMs - vehicleRun.fMsEmpty;
    res.nStep = report.nStep;
    switch (report.stop) {
        case SimStop::TimeLimit: res.iStop = mcStopEnd; break;
        case SimStop::Rest: res.iStop = mcStopRest; break;
        default: res.iStop = mcStopStep; break;  // too many steps fails an assertion first
    }
    res.bTouchdown = report.bTouchdown ? 1 : 0;
    if (report.bTouchdown) {
        res.fTiTouchdown = report.fTiTouchdown;
        res.fVeXfTouchdown = report.fVeXfTouchdown;
        res.fVeZfTouchdown = report.fVeZfTouchdown;
    }
    // Never touched down and out of propellant at the end: dry in the air.
    const bool bDryAtEnd = !report.bTouchdown && stRest.fMs <= vehicleRun.fMsEmpty;
    res.bRanDry = (report.bRanDry || bDryAtEnd) ? 1 : 0;
    const double fPitchWrapped = std::remainder(stRest.fPitch, 2.0 * std::numbers::pi);
    res.bUpright = (report.bTouchdown && std::fabs(fPitchWrapped) < fRdnUprightMc) ? 1 : 0;

    if (preport != nullptr) *preport = report;
    if (bKeepRecords) return res;
    for (Long i = pwork->arPStvehicle.iFirst(); i <= iLastRecord; i++) {
        delete static_cast<Stvehicle3dof*>(pwork->arPStvehicle[i]);
        pwork->arPStvehicle[i] = nullptr;
    }
    return res;
}

std::vector<Long> aiMcRunsOfRank(Long nRun, Long iRank, Long nRank) {
    VT_ASSERT(nRank >= 1 && iRank >= 0 && iRank < nRank);
    std::vector<Long> aiRun;
    aiRun.reserve(static_cast<std::size_t>(nRun / nRank + 1));
    // nRun <= 100000000, so iRun + nRank stays far from overflow.
    for (std::int64_t iRun = iRank + 1; iRun <= nRun; iRun += nRank)
        aiRun.push_back(static_cast<Long>(iRun));
    return aiRun;
}

void mcFlyRuns(Scenario& sc, McRunResult* arResult, std::vector<Long> const& aiRun, McSchedule const& sched,
               McDispersion const& disp, Long nThread,
               void (*fnProgress)(Long nDone, Long nTotal, void* pv), void* pvProgress,
               McGuided const* pguided, std::atomic<Long>* aiRunInFlight) {
    VT_ASSERT(nThread >= 1 && nThread <= nMcThreadSlot);
    const Long nTotal = static_cast<Long>(aiRun.size());
    // Runs are handed out in small chunks from a shared counter; each result
    // goes to the slot of its run, so the order of the results never
    // depends on the threads.
    constexpr Long nChunk = 4;
    std::atomic<Long> iNext{0};
    std::atomic<Long> nDone{0};
    auto worker = [&](int iSlot) {
        McWork work;
        for (;;) {
            const Long iBegin = iNext.fetch_add(nChunk, std::memory_order_relaxed);
            if (iBegin >= nTotal) break;
            const Long iEnd = (iBegin + nChunk < nTotal) ? iBegin + nChunk : nTotal;
            for (Long i = iBegin; i < iEnd; i++) {
                const Long iRun = aiRun[static_cast<std::size_t>(i)];
                if (aiRunInFlight != nullptr)
                    aiRunInFlight[iSlot].store(iRun, std::memory_order_relaxed);
                arResult[i] = mcRunFly(sc, sched, mcInputsForRun(disp, iRun), iRun, &work, pguided);
            }
            nDone.fetch_add(iEnd - iBegin, std::memory_order_relaxed);
        }
        if (aiRunInFlight != nullptr) aiRunInFlight[iSlot].store(0, std::memory_order_relaxed);
    };
    // Without a progress report the calling thread flies too; with one it
    // only wakes every 200 ms to report, and nThread others fly.
    std::vector<std::thread> athread;
    const Long iThreadFirst = (fnProgress == nullptr) ? 1 : 0;
    for (Long iThread = iThreadFirst; iThread < nThread; iThread++)
        athread.emplace_back(worker, static_cast<int>(iThread));
    if (fnProgress == nullptr) {
        worker(0);
    } else {
        for (;;) {
            const Long n = nDone.load(std::memory_order_relaxed);
            fnProgress(n, nTotal, pvProgress);
            if (n >= nTotal) break;
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
        }
    }
    for (std::thread& th : athread) th.join();
}
