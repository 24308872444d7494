// Matrix-vector products and text dumps of the numeric containers (see
// mxtypes.h).
#include "core/mxtypes.h"

#include "core/lapackld.h"

#include <string>

// The printers take their index and value formats from the caller.
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

// ---- products -------------------------------------------------------------------

Vd<double>* pmdcgnTimesPVd(Mdc<double>* pm, Vd<double>* pv) {
    const Long loC = pm->loC;
    const Long hiC = pm->hiC;
    const Long lo = pv->lo;
    const Long hi = pv->hi;
    VT_ASSERT(loC == lo && hiC == hi);
    const Long nR = pm->nR();
    const Long nC = pm->nC();
    Vd<double>* pvR = new Vd<double>(pm->loR, pm->hiR);
    for (Long i = 0; i < nR; i++) pvR->pdata[i] = 0.0;
    // BLAS refuses a leading dimension below 1; an empty product stays zero.
    if (nR > 0 && nC > 0)
        cblasDgemv(CblasColMajor, CblasNoTrans, nR, nC, 1.0, pm->pdata, nR, pv->pdata, 1, 0.0,
                    pvR->pdata, 1);
    return pvR;
}

Vd<double>* pmdcgnTransTimesPVd(Mdc<double>* pm, Vd<double>* pv) {
    const Long loR = pm->loR;
    const Long hiR = pm->hiR;
    const Long lo = pv->lo;
    const Long hi = pv->hi;
    VT_ASSERT(loR == lo && hiR == hi);
    const Long nR = pm->nR();
    const Long nC = pm->nC();
    Vd<double>* pvR = new Vd<double>(pm->loC, pm->hiC);
    for (Long i = 0; i < nC; i++) pvR->pdata[i] = 0.0;
    if (nR > 0 && nC > 0)
        cblasDgemv(CblasColMajor, CblasTrans, nR, nC, 1.0, pm->pdata, nR, pv->pdata, 1, 0.0,
                    pvR->pdata, 1);
    return pvR;
}

// ---- text dumps ------------------------------------------------------------------

namespace {

// Number of characters a format renders for one value.
Long nChFmtI(const char* szFmtI, Long i) { return std::snprintf(nullptr, 0, szFmtI, i); }
Long nChFmtF(const char* szFmtF, double f) { return std::snprintf(nullptr, 0, szFmtF, f); }

void printBoundsRC(std::FILE* pfile, const char* szType, Long loR, Long hiR, Long loC, Long hiC,
                   const char* szFmtI) {
    std::fputs(szType, pfile);
    std::fprintf(pfile, szFmtI, loR);
    std::fputs(" ..", pfile);
    std::fprintf(pfile, szFmtI, hiR);
    std::fputs(",", pfile);
    std::fprintf(pfile, szFmtI, loC);
    std::fputs(" ..", pfile);
    std::fprintf(pfile, szFmtI, hiC);
    std::fputs("]", pfile);
}

// Starts a new line of entries before entry k when k is a multiple of the
// count per line (all on one line when that count is 0 or less).
bool bNewLineBefore(Long k, Long nPerLine) { return k == 0 || (nPerLine > 0 && k % nPerLine == 0); }

}  // namespace

void printPVd(std::FILE* pfile, Vd<double>* pv, const char* szFmtI, const char* szFmtF,
              Long nPerLine) {
    std::fputs("Vd<F64>[", pfile);
    std::fprintf(pfile, szFmtI, pv->lo);
    std::fputs(" ..", pfile);
    std::fprintf(pfile, szFmtI, pv->hi);
    std::fputs("]", pfile);
    for (Long i = pv->lo; i <= pv->hi; i++) {
        if (bNewLineBefore(i - pv->lo, nPerLine)) {
            std::fputs("\n", pfile);
            std::fprintf(pfile, szFmtI, i);
            std::fputs(" : ", pfile);
        }
        std::fprintf(pfile, szFmtF, (*pv)[i]);
    }
    std::fputs("\n", pfile);
}

void printAsMdc(std::FILE* pfile, Long loR, Long hiR, Long loC, Long hiC, double* pdata,
                const char* szFmtI, const char* szFmtF, Long nPerLine) {
    printBoundsRC(pfile, "Mdc<F64>[", loR, hiR, loC, hiC, szFmtI);
    std::fputs("\n", pfile);
    const Long nR = hiR - loR + 1;
    const Long nC = hiC - loC + 1;
    if (nR <= 0 || nC <= 0) {
        std::fputs("  empty\n", pfile);
        return;
    }
    // Deliberately the number of rows, not of columns: a long-standing default
    // that existing dumps are laid out by.
    if (nPerLine == 0) nPerLine = nR;
    const std::string szBlContinue(static_cast<std::size_t>(nChFmtI(szFmtI, 0)), ' ');
    const Long nChZero = nChFmtF(szFmtF, 0.0);
    for (Long iR = loR; iR <= hiR; iR++) {
        std::fprintf(pfile, szFmtI, iR);
        std::fputs(" : ", pfile);
        for (Long iC = loC; iC <= hiC; iC++) {
            const Long k = iC - loC;
            if (k > 0 && nPerLine > 0 && k % nPerLine == 0)
                std::fprintf(pfile, "\n%s", szBlContinue.c_str());
            const double f = pdata[static_cast<std::size_t>(k) * static_cast<std::size_t>(nR) +
                                   static_cast<std::size_t>(iR - loR)];
            // Exact zeroes as a bare "0" so that sparse rows stand out.
            if (f == 0.0)
                std::fprintf(pfile, "%*s", nChZero, "0");
            else
                std::fprintf(pfile, szFmtF, f);
        }
        std::fputs("\n", pfile);
    }
}

void printPMdcgn(std::FILE* pfile, Mdc<double>* pm, const char* szFmtI, const char* szFmtF,
                 Long nPerLine) {
    printAsMdc(pfile, pm->loR, pm->hiR, pm->loC, pm->hiC, pm->pdata, szFmtI, szFmtF, nPerLine);
}

void printPMdcgnStats(std::FILE* pfile, Mdc<double>* pm, const char* szFmtI) {
    printBoundsRC(pfile, "Mdc<F64>[", pm->loR, pm->hiR, pm->loC, pm->hiC, szFmtI);
    Long nNz = 0;
    Long nZero = 0;
    if (pm->nR() > 0 && pm->nC() > 0) {
        const std::size_t nEl =
            static_cast<std::size_t>(pm->nR()) * static_cast<std::size_t>(pm->nC());
        for (std::size_t k = 0; k < nEl; k++) {
            if (pm->pdata[k] == 0.0)
                nZero++;
            else
                nNz++;
        }
    }
    std::fprintf(pfile, ", %i non-zeroes, %i exact zeroes\n", nNz, nZero);
}

void printPVc(std::FILE* pfile, Vc<double>* pv, const char* szFmtI, const char* szFmtF,
              Long nPerLine) {
    std::fputs("Vc<F64>[", pfile);
    std::fprintf(pfile, szFmtI, pv->lo);
    std::fputs(" ..", pfile);
    std::fprintf(pfile, szFmtI, pv->hi);
    std::fputs("]", pfile);
    std::fprintf(pfile, ", %i non-zeroes", pv->nNz);
    for (Long k = 0; k < pv->nNz; k++) {
        if (bNewLineBefore(k, nPerLine)) std::fputs("\n", pfile);
        std::fputs("  ", pfile);
        std::fprintf(pfile, szFmtI, (*pv->paI)[k]);
        std::fputs(" : ", pfile);
        std::fprintf(pfile, szFmtF, pv->pdata[k]);
    }
    std::fputs("\n", pfile);
}

void printPMcogn(std::FILE* pfile, Mco<double>* pm, const char* szFmtI, const char* szFmtF,
                 Long nPerLine) {
    printBoundsRC(pfile, "Mco<F64>[", pm->loR, pm->hiR, pm->loC, pm->hiC, szFmtI);
    std::fprintf(pfile, ", %i non-zeroes", pm->nNz);
    for (Long k = 0; k < pm->nNz; k++) {
        if (bNewLineBefore(k, nPerLine)) std::fputs("\n", pfile);
        std::fputs("  (", pfile);
        std::fprintf(pfile, szFmtI, (*pm->paIR)[k]);
        std::fputs(",", pfile);
        std::fprintf(pfile, szFmtI, (*pm->paIC)[k]);
        std::fputs(") : ", pfile);
        std::fprintf(pfile, szFmtF, pm->pdata[k]);
    }
    std::fputs("\n", pfile);
}

void printPMccgn(std::FILE* pfile, Mcc<double>* pm, const char* szFmtI, const char* szFmtF,
                 Long nPerLine) {
    printBoundsRC(pfile, "Mcc<F64>[", pm->loR, pm->hiR, pm->loC, pm->hiC, szFmtI);
    std::fprintf(pfile, ", %i non-zeroes\n", pm->nNz);
    for (Long iC = pm->loC; iC <= pm->hiC; iC++) {
        std::fputs("  col ", pfile);
        std::fprintf(pfile, szFmtI, iC);
        const Long kFirst = (*pm->paICStart)[iC];
        const Long kEnd = (*pm->paICStart)[iC + 1];
        for (Long k = kFirst; k < kEnd; k++) {
            if (bNewLineBefore(k - kFirst, nPerLine)) std::fputs("\n", pfile);
            std::fputs("  ", pfile);
            std::fprintf(pfile, szFmtI, (*pm->paIR)[k]);
            std::fputs(" : ", pfile);
            std::fprintf(pfile, szFmtF, pm->pdata[k]);
        }
        std::fputs("\n", pfile);
    }
}

void printPMccgnStats(std::FILE* pfile, Mcc<double>* pm, const char* szFmtI) {
    printBoundsRC(pfile, "Mcc<F64>[", pm->loR, pm->hiR, pm->loC, pm->hiC, szFmtI);
    std::fprintf(pfile, ", %i non-zeroes", pm->nNz);
    Long iCLongest = pm->loC;
    Long nNzLongest = 0;
    for (Long iC = pm->loC; iC <= pm->hiC; iC++) {
        const Long nNzC = (*pm->paICStart)[iC + 1] - (*pm->paICStart)[iC];
        if (nNzC > nNzLongest) {
            nNzLongest = nNzC;
            iCLongest = iC;
        }
    }
    std::fprintf(pfile, ", longest column, [,%i], has %i non-zeroes\n", iCLongest, nNzLongest);
}

void printPMhcgn(std::FILE*, Mhc<double>*, const char*, const char*, Long) {}

void printPMhbgn(std::FILE*, Mhb<double>*, const char*, const char*, Long) {}

// ---- sort comparators --------------------------------------------------------------

namespace {

int iCompareL(Long i1, Long i2) { return (i1 < i2) ? -1 : (i1 > i2) ? 1 : 0; }

const ElRC& elFm(const void* pv) { return *static_cast<const ElRC*>(pv); }

}  // namespace

int iCompareR(const void* pv1, const void* pv2) { return iCompareL(elFm(pv1).iR, elFm(pv2).iR); }

int iCompareC(const void* pv1, const void* pv2) { return iCompareL(elFm(pv1).iC, elFm(pv2).iC); }

int iCompareRC(const void* pv1, const void* pv2) {
    const int i = iCompareR(pv1, pv2);
    return i != 0 ? i : iCompareC(pv1, pv2);
}

int iCompareCR(const void* pv1, const void* pv2) {
    const int i = iCompareC(pv1, pv2);
    return i != 0 ? i : iCompareR(pv1, pv2);
}
