// Flying a flight plan file, and the run report (see flight.h).
#include "sim/flight.h"

#include <cstdio>
#include <memory>

namespace {

// The fixed settings of a flight from a plan file.
constexpr double fTiICFlight = 0.0;         // s
constexpr double fTiMaxFlight = 30.0;       // s
constexpr double fDTiDataFlight = 0.05;     // s, output interval
constexpr double fDTiStepMinFlight = 1e-6;  // s
constexpr Long iNStepMaxFlight = 20000;
constexpr double fTolIntgFlight = 0.001;  // every state's error allowance

// Degrees from radians, in the order the report has always used.
double fDegFmFRdn(double fRdn) { return fRdn / 3.141592653589793 * 180.0; }

}  // namespace

void flyScheduleFile(const char* szFltplan, A1Val<double>* parFTiData,
                     A1Val<void*>* parPStvehicle) {
    // 1. The schedule, into arrays of our own; the file is closed before
    // the flight.
    // Closed on every way out: the robustness builds turn a fatal error in
    // the reader into an exception.
    struct FileCloser {
        void operator()(std::FILE* pfile) const { std::fclose(pfile); }
    };
    std::unique_ptr<std::FILE, FileCloser> pfile(std::fopen(szFltplan, "r"));
    if (pfile == nullptr) {
        char szMsg[400];
        std::snprintf(szMsg, sizeof szMsg, "can't open flight plan %s", szFltplan);
        for (char* pch = szMsg; *pch != '\0'; pch++)
            if (*pch == '%') *pch = '?';  // the message is used as a format
        fatalErrorSzMsg(szMsg);
    }
    A1Val<double> arFTiCmd(0);
    A1Val<double> arFFcThrustCmd(0);
    A1Val<double> arFMmPitchCmd(0);
    readCmdsFromPFILE(&arFTiCmd, &arFFcThrustCmd, &arFMmPitchCmd, pfile.get(), szFltplan);
    pfile.reset();

    // 2. The model over the program's planet and vehicle.
    ArFFnFArFModel model(&planet, &vehicle, fDTiDataFlight, arFTiCmd, arFFcThrustCmd,
                         arFMmPitchCmd);

    // 3. The initial state, in the integrator's order: position, pitch,
    // then velocities, pitch rate and mass (not the record's field order).
    A1Val<double> arFStateIC(1, iNStateVehicle);
    arFStateIC[1] = stvehicle3dof0.fXf;
    arFStateIC[2] = stvehicle3dof0.fZf;
    arFStateIC[3] = stvehicle3dof0.fPitch;
    arFStateIC[4] = stvehicle3dof0.fVeXf;
    arFStateIC[5] = stvehicle3dof0.fVeZf;
    arFStateIC[6] = stvehicle3dof0.fPitchDot;
    arFStateIC[7] = stvehicle3dof0.fMs;

    // 4. The flight.
    sim(parFTiData, parPStvehicle, &model, fTiICFlight, arFStateIC, fTiMaxFlight, fDTiDataFlight,
        fDTiStepMinFlight, iNStepMaxFlight, fTolIntgFlight, fTolIntgFlight, fTolIntgFlight,
        fTolIntgFlight, fTolIntgFlight);
}

void deleteStoredRun(A1Val<double>* parFTiData, A1Val<void*>* parPStvehicle) {
    for (Long i = parPStvehicle->iFirst(); i <= parPStvehicle->iLast(); i++) {
        delete static_cast<Stvehicle3dof*>((*parPStvehicle)[i]);
        (*parPStvehicle)[i] = nullptr;
    }
    parFTiData->reconstructIFirstILast(1, 0);
    parPStvehicle->reconstructIFirstILast(1, 0);
}

void writeResultsTxt(const char* szFile, A1Val<double>& arFTiDataIn, A1Val<void*>& arPStvehicleIn) {
    std::FILE* pfile = std::fopen(szFile, "w");
    if (pfile == nullptr) return;  // not reported: the run itself is kept
    std::fprintf(pfile,
                 "     ti      Xf      Zf     Pitch   VeXf    VeZf  PitchDot  Ms     ThCmd   "
                 "ThAct   MmCmd   MmAct\n");
    for (Long i = arFTiDataIn.iFirst(); i <= arFTiDataIn.iLast(); i++) {
        Stvehicle3dof const& st = *static_cast<Stvehicle3dof*>(arPStvehicleIn[i]);
        std::fprintf(pfile, "%8.2lf%8.2lf%8.2lf%8.2lf%8.2lf%8.2lf%8.2lf%8.2lf", arFTiDataIn[i],
                     st.fXf, st.fZf, fDegFmFRdn(st.fPitch), st.fVeXf, st.fVeZf,
                     fDegFmFRdn(st.fPitchDot), st.fMs);
        std::fprintf(pfile, "%8.1lf%8.1lf%8.1lf%8.1lf", st.fFcThrustCmd, st.fFcThrustAct,
                     st.fMmPitchCmd, st.fMmPitchAct);
        std::fprintf(pfile, "\n");
    }
    std::fclose(pfile);
}
