// Flying a landing-dispersion campaign (see campaign.h).
#include "mc/campaign.h"

#include <chrono>
#include <cmath>
#include <thread>

#include "sim/fltsim.h"

std::atomic<Long> aiMcRunInFlight[nMcThreadSlot];

namespace {

// The model of the simulate command, watched from outside: every evaluation
// is passed on unchanged to ArFFnFArFModel, so the flight is the same, and
// the watcher notes what the driver does not hand back:
//   - the touchdown: the evaluation in which the model first sets bLanded
//     (and cuts the engine). Like the model, it counts a trial evaluation of
//     the stepper that is later rejected; that is the moment the engine went
//     off, which is what shapes the landing.
//   - the integration steps: the driver evaluates the derivative once at the
//     start of every step with its own state array (the stepper's trial
//     states live in the stepper's arrays). The first evaluation of a run is
//     the driver's, so its array is recognised there.
//   - running dry: an accepted state (a step start) with the mass at or below
//     fMsEmpty before touchdown.
//   - the last evaluation of the run, which the stepper makes at the end of
//     the last step (the full step's last stage lies at exactly t + h).
class ArFFnFArFModelWatched final : public ArFFnFArFModel {
public:
    using ArFFnFArFModel::ArFFnFArFModel;

    void arFAtFArF(A1Val<double>* parFDeriv, double fTi, const A1Val<double>& arFState) override {
        const bool bLandedBefore = bLanded;
        if (parFStateDriver == nullptr) parFStateDriver = &arFState;
        if (&arFState == parFStateDriver) {
            nStep += 1;
            fTiStepStart = fTi;
            if (!bLandedBefore && arFState[7] <= pvehicle->fMsEmpty) bRanDry = true;
        }
        ArFFnFArFModel::arFAtFArF(parFDeriv, fTi, arFState);
        fTiLastEval = fTi;
        fVeXfLastEval = arFState[4];
        fVeZfLastEval = arFState[5];
        fPitchDotLastEval = arFState[6];
        if (!bLandedBefore && bLanded) {
            bTouchdown = true;
            fTiTouchdown = fTi;
            fVeXfTouchdown = arFState[4];
            fVeZfTouchdown = arFState[5];
        }
    }

    const A1Val<double>* parFStateDriver = nullptr;
    Long nStep = 0;
    double fTiStepStart = 0.0;
    double fTiLastEval = 0.0;
    double fVeXfLastEval = 0.0;
    double fVeZfLastEval = 0.0;
    double fPitchDotLastEval = 0.0;
    bool bRanDry = false;
    bool bTouchdown = false;
    double fTiTouchdown = 0.0;
    double fVeXfTouchdown = 0.0;
    double fVeZfTouchdown = 0.0;
};

// Why the driver stopped. It does not say, so it is told from the records
// and the watcher:
//   - a last record at 30 s: the final time;
//   - otherwise the run stopped at rest or because the proposed step fell to
//     fDTiStepMin or below. The proposed step is at least 0.9 times the step
//     just taken, so a last step longer than fDTiStepMin / 0.9 cannot have
//     collapsed: the vehicle was at rest. After a shorter last step the rest
//     test is made on the state of the last evaluation, which lies within
//     that tiny step of the final state.
Long iStopOfFlight(ArFFnFArFModelWatched const& model, double fTiLastRecord) {
    if (fTiLastRecord >= fTiMaxMc) return mcStopEnd;
    const double fDTiLast = model.fTiLastEval - model.fTiStepStart;
    if (0.9 * fDTiLast > fDTiStepMinMc) return mcStopRest;
    if (std::fabs(model.fVeXfLastEval) < fTolIntgMc && std::fabs(model.fVeZfLastEval) < fTolIntgMc &&
        std::fabs(model.fPitchDotLastEval) < fTolIntgMc)
        return mcStopRest;
    return mcStopStep;
}

// Copies src into dst, re-using dst's block when the size is the same.
void copyArray(A1Val<double>* parDst, A1Val<double> const& arSrc) {
    parDst->reconstructIFirstILast(arSrc.iFirst(), arSrc.iLast());
    for (Long i = arSrc.iFirst(); i <= arSrc.iLast(); i++) (*parDst)[i] = arSrc[i];
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

McRunResult mcRunFly(McSchedule const& sched, McInputs const& inputs, Long iRun,
                     McWork* pwork) {
    const double* arFDev = inputs.arFDev;
    McRunResult res{};
    res.iRun = iRun;
    for (int j = 0; j < nMcParam; j++) res.arFDev[j] = arFDev[j];

    // 1. This run's schedule: thrusts scaled, moments biased, times delayed.
    // A deviation of exactly 0 leaves the column untouched (adding 0.0 would
    // turn a -0.0 into +0.0).
    McSchedule& schedRun = pwork->sched;
    copyArray(&schedRun.arFTiCmd, sched.arFTiCmd);
    copyArray(&schedRun.arFFcThrustCmd, sched.arFFcThrustCmd);
    copyArray(&schedRun.arFMmPitchCmd, sched.arFMmPitchCmd);
    const Long iFirst = schedRun.arFTiCmd.iFirst();
    const Long iLast = schedRun.arFTiCmd.iLast();
    if (arFDev[mcParamThrustScale] != 0.0)
        for (Long i = iFirst; i <= iLast; i++)
            schedRun.arFFcThrustCmd[i] = schedRun.arFFcThrustCmd[i] * (1.0 + arFDev[mcParamThrustScale]);
    if (arFDev[mcParamMomentBias] != 0.0)
        for (Long i = iFirst; i <= iLast; i++)
            schedRun.arFMmPitchCmd[i] = schedRun.arFMmPitchCmd[i] + arFDev[mcParamMomentBias];
    if (arFDev[mcParamCommandDelay] != 0.0)
        for (Long i = iFirst; i <= iLast; i++)
            schedRun.arFTiCmd[i] = schedRun.arFTiCmd[i] + arFDev[mcParamCommandDelay];

    // 2. This run's vehicle and planet.
    Planet planetRun = planet;
    Vehicle vehicleRun = vehicle;
    if (arFDev[mcParamExhaustSpeed] != 0.0)
        vehicleRun.fIsp = vehicleRun.fIsp + arFDev[mcParamExhaustSpeed];
    if (arFDev[mcParamDragScale] != 0.0) {
        vehicleRun.fCdAX = vehicleRun.fCdAX * (1.0 + arFDev[mcParamDragScale]);
        vehicleRun.fCdAZ = vehicleRun.fCdAZ * (1.0 + arFDev[mcParamDragScale]);
    }

    // 3. The initial state, in the integrator's order (x, z, pitch, vx, vz,
    // pitch rate, mass).
    A1Val<double>& arFStateIC = pwork->arFStateIC;
    arFStateIC.reconstructIFirstILast(1, iNStateVehicle);
    arFStateIC[1] = stvehicle3dof0.fXf;
    arFStateIC[2] = stvehicle3dof0.fZf;
    arFStateIC[3] = stvehicle3dof0.fPitch;
    arFStateIC[4] = stvehicle3dof0.fVeXf;
    arFStateIC[5] = stvehicle3dof0.fVeZf;
    arFStateIC[6] = stvehicle3dof0.fPitchDot;
    arFStateIC[7] = stvehicle3dof0.fMs;
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
    ArFFnFArFModelWatched model(&planetRun, &vehicleRun, fDTiDataMc, schedRun.arFTiCmd,
                                schedRun.arFFcThrustCmd, schedRun.arFMmPitchCmd);
    sim(&pwork->arFTiData, &pwork->arPStvehicle, &model, 0.0, arFStateIC, fTiMaxMc, fDTiDataMc,
        fDTiStepMinMc, iNStepMaxMc, fTolIntgMc, fTolIntgMc, fTolIntgMc, fTolIntgMc, fTolIntgMc);

    // 5. The outcome, from the last record and the watcher.
    const Long iLastRecord = pwork->arPStvehicle.iLast();
    Stvehicle3dof const& stRest = *static_cast<Stvehicle3dof*>(pwork->arPStvehicle[iLastRecord]);
    res.fTiRest = pwork->arFTiData[iLastRecord];
    res.fXfRest = stRest.fXf;
    res.fZfRest = stRest.fZf;
    res.fPitchRest = stRest.fPitch;
    res.fMsPropLeft = stRest.fMs - vehicleRun.fMsEmpty;
    res.nStep = model.nStep;
    res.iStop = iStopOfFlight(model, res.fTiRest);
    res.bTouchdown = model.bTouchdown ? 1 : 0;
    if (model.bTouchdown) {
        res.fTiTouchdown = model.fTiTouchdown;
        res.fVeXfTouchdown = model.fVeXfTouchdown;
        res.fVeZfTouchdown = model.fVeZfTouchdown;
    }
    // Never touched down and out of propellant at the end: dry in the air.
    const bool bDryAtEnd = !model.bLanded && stRest.fMs <= vehicleRun.fMsEmpty;
    res.bRanDry = (model.bRanDry || bDryAtEnd) ? 1 : 0;
    const double fPitchWrapped = std::remainder(stRest.fPitch, 2.0 * 3.141592653589793);
    res.bUpright = (model.bTouchdown && std::fabs(fPitchWrapped) < fRdnUprightMc) ? 1 : 0;

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

void mcFlyRuns(McRunResult* arResult, std::vector<Long> const& aiRun, McSchedule const& sched,
               McDispersion const& disp, Long nThread,
               void (*fnProgress)(Long nDone, Long nTotal, void* pv), void* pvProgress) {
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
                aiMcRunInFlight[iSlot].store(iRun, std::memory_order_relaxed);
                arResult[i] = mcRunFly(sched, mcInputsForRun(disp, iRun), iRun, &work);
            }
            nDone.fetch_add(iEnd - iBegin, std::memory_order_relaxed);
        }
        aiMcRunInFlight[iSlot].store(0, std::memory_order_relaxed);
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
