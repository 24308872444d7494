// Flying a flight plan file, and the run report (see flight.h).
#include "sim/flight.h"

#include <cstdio>
#include <memory>
#include <numbers>

#include "core/format.h"

namespace {

// Degrees from radians, in the order the report has always used.
double fDegFmFRdn(double fRdn) { return fRdn / std::numbers::pi * 180.0; }

}  // namespace

void flyModel(A1Val<double>* parFTiData, A1Val<void*>* parPStvehicle, ArFFnFArFModel* pmodel,
              Stvehicle3dof const& st0, FlightSettings const& fs, SimReport* preport) {
    A1Val<double> arFStateIC(0);
    stateFmStvehicle3dof(&arFStateIC, st0);
    sim(parFTiData, parPStvehicle, pmodel, fs.fTiIC, arFStateIC, fs.fTiMax, fs.fDTiData,
        fs.fDTiStepMin, fs.iNStepMax, fs.fTolIntg, fs.fTolIntg, fs.fTolIntg, fs.fTolIntg,
        fs.fTolIntg, preport);
}

void readScheduleFile(const char* szFltplan, A1Val<double>* parFTiCmd,
                      A1Val<double>* parFFcThrustCmd, A1Val<double>* parFMmPitchCmd) {
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
    readCmdsFromPFILE(parFTiCmd, parFFcThrustCmd, parFMmPitchCmd, pfile.get(), szFltplan);
}

void flyScheduleFile(Scenario& sc, const char* szFltplan, A1Val<double>* parFTiData,
                     A1Val<void*>* parPStvehicle, SimReport* preport) {
    // 1. The schedule, into arrays of our own; the file is closed before
    // the flight.
    A1Val<double> arFTiCmd(0);
    A1Val<double> arFFcThrustCmd(0);
    A1Val<double> arFMmPitchCmd(0);
    readScheduleFile(szFltplan, &arFTiCmd, &arFFcThrustCmd, &arFMmPitchCmd);

    // 2. The model over the scenario's planet, vehicle and ground, and the
    // flight from its initial state.
    const FlightSettings fs;
    ArFFnFArFModel model(&sc.planet, &sc.vehicle, &sc.arPArPPtVtxPgnGnd, fs.fDTiData, arFTiCmd,
                         arFFcThrustCmd, arFMmPitchCmd);
    flyModel(parFTiData, parPStvehicle, &model, sc.stvehicle3dof0, fs, preport);
}

StoredRun::~StoredRun() { deleteStoredRun(&arFTiData, &arPStvehicle); }

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
    // Each line is "%8.2lf" eight times, "%8.1lf" four times and a line
    // feed, formatted by pchPutFixed (printf's own text, faster).
    char szLine[12 * 360 + 2];
    for (Long i = arFTiDataIn.iFirst(); i <= arFTiDataIn.iLast(); i++) {
        Stvehicle3dof const& st = *static_cast<Stvehicle3dof*>(arPStvehicleIn[i]);
        const double afF2[8] = {arFTiDataIn[i], st.fXf,   st.fZf,  fDegFmFRdn(st.fPitch),
                                st.fVeXf,       st.fVeZf, fDegFmFRdn(st.fPitchDot), st.fMs};
        const double afF1[4] = {st.fFcThrustCmd, st.fFcThrustAct, st.fMmPitchCmd,
                                st.fMmPitchAct};
        char* pch = szLine;
        for (double f : afF2) pch = pchPutFixed(pch, f, 8, 2);
        for (double f : afF1) pch = pchPutFixed(pch, f, 8, 1);
        *pch++ = '\n';
        std::fwrite(szLine, 1, static_cast<std::size_t>(pch - szLine), pfile);
    }
    std::fclose(pfile);
}
