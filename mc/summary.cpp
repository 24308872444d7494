// Statistics and reports of a landing-dispersion campaign (see summary.h).
#include "mc/summary.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <thread>

namespace {

// Units of the deviation columns, in McParam order.
const char* const aszParamUnit[nMcParam] = {"-", "N*m", "m/s", "kg", "-", "rad", "rad/s", "m/s", "s"};

}  // namespace

double fMcMiss(McRunResult const& res, double fXfRef, double fZfRef) {
    const double dx = res.fXfRest - fXfRef;
    const double dz = res.fZfRest - fZfRef;
    return std::sqrt(dx * dx + dz * dz);
}

double fMcRadiusAtPercent(std::vector<double> const& afSorted, int iPercent) {
    VT_ASSERT(!afSorted.empty() && iPercent >= 1 && iPercent <= 100);
    const std::int64_t n = static_cast<std::int64_t>(afSorted.size());
    const std::int64_t iRank = (iPercent * n + 99) / 100;  // ceil(p * n / 100), 1..n
    return afSorted[static_cast<std::size_t>(iRank - 1)];
}

McSummary mcSummarize(const McRunResult* arResult, Long n, double fXfRef, double fZfRef) {
    VT_ASSERT(n >= 1);
    McSummary summ;
    summ.nRun = n;
    summ.fXfRef = fXfRef;
    summ.fZfRef = fZfRef;

    // Mean and standard deviation of the rest x, two passes in run order.
    double fSum = 0.0;
    for (Long i = 0; i < n; i++) fSum += arResult[i].fXfRest;
    summ.fXfRestMean = fSum / static_cast<double>(n);
    double fSumSq = 0.0;
    for (Long i = 0; i < n; i++) {
        const double d = arResult[i].fXfRest - summ.fXfRestMean;
        fSumSq += d * d;
    }
    summ.fXfRestSd = (n > 1) ? std::sqrt(fSumSq / static_cast<double>(n - 1)) : 0.0;

    // Miss distances, the worst run and the counts.
    std::vector<double> afMiss(static_cast<std::size_t>(n));
    for (Long i = 0; i < n; i++) {
        McRunResult const& res = arResult[i];
        const double fMiss = fMcMiss(res, fXfRef, fZfRef);
        afMiss[static_cast<std::size_t>(i)] = fMiss;
        if (summ.iRunWorst == 0 || fMiss > summ.fMissWorst ||
            (fMiss == summ.fMissWorst && res.iRun < summ.iRunWorst)) {
            summ.iRunWorst = res.iRun;
            summ.fMissWorst = fMiss;
        }
        if (res.bUpright) summ.nUpright += 1;
        if (res.bRanDry) summ.nRanDry += 1;
        if (res.iStop >= 0 && res.iStop < 4) summ.anStop[res.iStop] += 1;
    }
    std::sort(afMiss.begin(), afMiss.end());
    summ.fR50 = fMcRadiusAtPercent(afMiss, 50);
    summ.fR90 = fMcRadiusAtPercent(afMiss, 90);
    summ.fR95 = fMcRadiusAtPercent(afMiss, 95);
    return summ;
}

std::string szMcSummaryText(McSummary const& summ, McSummaryLabels const& labels) {
    char sz[512];
    std::string szOut = "LANDING DISPERSION\n";
    szOut += "    flight plan        = " + labels.szPlanFile + "\n";
    szOut += "    dispersion file    = " + labels.szDispersionFile + "\n";
    std::snprintf(sz, sizeof sz, "    runs               = %i\n", summ.nRun);
    szOut += sz;
    std::snprintf(sz, sizeof sz, "    random seed        = %llu\n", labels.uRngSeed);
    szOut += sz;
    if (!labels.szFlightMode.empty()) szOut += "    flight mode        = " + labels.szFlightMode + "\n";
    std::snprintf(sz, sizeof sz, "    planned end point  = (%10.4lf %10.4lf) m, %s\n", summ.fXfRef,
                  summ.fZfRef, labels.szRefFrom.c_str());
    szOut += sz;
    std::snprintf(sz, sizeof sz, "    rest x mean        = %10.4lf m\n", summ.fXfRestMean);
    szOut += sz;
    std::snprintf(sz, sizeof sz, "    rest x std dev     = %10.4lf m\n", summ.fXfRestSd);
    szOut += sz;
    std::snprintf(sz, sizeof sz, "    miss R50           = %10.4lf m\n", summ.fR50);
    szOut += sz;
    std::snprintf(sz, sizeof sz, "    miss R90           = %10.4lf m\n", summ.fR90);
    szOut += sz;
    std::snprintf(sz, sizeof sz, "    miss R95           = %10.4lf m\n", summ.fR95);
    szOut += sz;
    const double fN = static_cast<double>(summ.nRun);
    std::snprintf(sz, sizeof sz, "    upright at rest    = %10.4lf (%i of %i)\n",
                  static_cast<double>(summ.nUpright) / fN, summ.nUpright, summ.nRun);
    szOut += sz;
    std::snprintf(sz, sizeof sz, "    ran dry in the air = %10.4lf (%i of %i)\n",
                  static_cast<double>(summ.nRanDry) / fN, summ.nRanDry, summ.nRun);
    szOut += sz;
    std::snprintf(sz, sizeof sz,
                  "    stopped            = at rest %i, at 30 s %i, step too small %i, not "
                  "flown %i\n",
                  summ.anStop[mcStopRest], summ.anStop[mcStopEnd], summ.anStop[mcStopStep],
                  summ.anStop[mcStopUnphysical]);
    szOut += sz;
    std::snprintf(sz, sizeof sz, "    worst run          = %i (miss %.4lf m)\n", summ.iRunWorst,
                  summ.fMissWorst);
    szOut += sz;
    return szOut;
}

std::string szMcCsvHeader(bool bGuided) {
    std::string sz = "run";
    for (int j = 0; j < nMcParam; j++) {
        sz += ',';
        sz += szMcParamName(j);
        sz += "_dev[";
        sz += aszParamUnit[j];
        sz += ']';
    }
    sz += ",rest_time[s],rest_x[m],rest_z[m],rest_pitch[rad],touchdown_time[s],touchdown_vx[m/s],"
          "touchdown_vz[m/s],touchdown_speed[m/s],propellant_left[kg],upright,ran_dry,stop,steps,"
          "miss[m]";
    sz += bGuided ? ",mode\n" : "\n";
    return sz;
}

std::string szMcCsvRow(McRunResult const& res, double fMiss, bool bGuided) {
    std::string sz;
    sz.reserve(400);
    char szField[64];
    auto addG = [&](double f) {
        std::snprintf(szField, sizeof szField, ",%.10g", f);
        sz += szField;
    };
    auto addI = [&](Long i) {
        std::snprintf(szField, sizeof szField, ",%i", i);
        sz += szField;
    };
    std::snprintf(szField, sizeof szField, "%i", res.iRun);
    sz += szField;
    for (int j = 0; j < nMcParam; j++) addG(res.arFDev[j]);
    addG(res.fTiRest);
    addG(res.fXfRest);
    addG(res.fZfRest);
    addG(res.fPitchRest);
    // No touchdown: the four touchdown fields are left empty.
    if (res.bTouchdown) {
        addG(res.fTiTouchdown);
        addG(res.fVeXfTouchdown);
        addG(res.fVeZfTouchdown);
        addG(std::sqrt(res.fVeXfTouchdown * res.fVeXfTouchdown +
                       res.fVeZfTouchdown * res.fVeZfTouchdown));
    } else {
        sz += ",,,,";
    }
    addG(res.fMsPropLeft);
    addI(res.bUpright);
    addI(res.bRanDry);
    sz += ',';
    sz += szMcStop(res.iStop);
    addI(res.nStep);
    addG(fMiss);
    if (bGuided) sz += ",guided";
    sz += '\n';
    return sz;
}

bool bWriteMcCsv(const char* szFile, const McRunResult* arResult, Long n, double fXfRef,
                 double fZfRef, Long nThread, bool bGuided) {
    std::FILE* pfile = std::fopen(szFile, "w");
    if (pfile == nullptr) return false;
    bool bOk = std::fputs(szMcCsvHeader(bGuided).c_str(), pfile) >= 0;
    // Rows are formatted in batches, each batch cut into one block per
    // thread; the blocks are written in run order.
    if (nThread < 1) nThread = 1;
    constexpr Long nBatch = 65536;
    std::vector<std::string> aszBlock(static_cast<std::size_t>(nThread));
    for (Long iBatch = 0; iBatch < n && bOk; iBatch += nBatch) {
        const Long nInBatch = std::min(nBatch, n - iBatch);
        const Long nPerBlock = (nInBatch + nThread - 1) / nThread;
        auto format = [&](Long iBlock) {
            std::string& sz = aszBlock[static_cast<std::size_t>(iBlock)];
            sz.clear();
            const Long iBegin = iBatch + iBlock * nPerBlock;
            const Long iEnd = std::min(iBegin + nPerBlock, iBatch + nInBatch);
            for (Long i = iBegin; i < iEnd; i++)
                sz += szMcCsvRow(arResult[i], fMcMiss(arResult[i], fXfRef, fZfRef), bGuided);
        };
        std::vector<std::thread> athread;
        for (Long iBlock = 1; iBlock < nThread; iBlock++) athread.emplace_back(format, iBlock);
        format(0);
        for (std::thread& th : athread) th.join();
        for (std::string const& sz : aszBlock)
            if (bOk && !sz.empty()) bOk = std::fwrite(sz.data(), 1, sz.size(), pfile) == sz.size();
    }
    if (std::fclose(pfile) != 0) bOk = false;
    return bOk;
}
