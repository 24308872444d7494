// Statistics and reports of a landing-dispersion campaign: the table of runs
// "mc_runs.csv" and the summary "mc_summary.txt" (also printed on standard
// output).
//
// Every figure is computed from the results in run order, so the reports are
// byte for byte the same whatever threads or processes flew the runs.
//
// The planned end point is the point the miss distances are measured from:
// by default the rest point of the undispersed flight (every deviation 0:
// the simulate command's own flight), which the flight plan file alone
// determines; the program may be given another one.
//
// Miss distance: the straight distance in the x-z plane from the planned end
// point to the rest point, sqrt(dx*dx + dz*dz).
// Rp (R50, R90, R95): the smallest miss distance that at least p percent of
// the runs do not exceed (nearest rank: the ceil(p*n/100)-th smallest).
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "mc/campaign.h"

struct McSummary {
    Long nRun = 0;
    double fXfRef = 0.0;  // planned end point, m
    double fZfRef = 0.0;
    double fXfRestMean = 0.0;  // m
    double fXfRestSd = 0.0;    // m, sample standard deviation (divisor n - 1; 0 for one run)
    double fR50 = 0.0;  // m
    double fR90 = 0.0;
    double fR95 = 0.0;
    Long nUpright = 0;
    Long nRanDry = 0;
    Long anStop[4] = {0, 0, 0, 0};  // runs per McStop
    Long iRunWorst = 0;             // largest miss (the lowest run number among equals)
    double fMissWorst = 0.0;
};

// Miss distance of a run from (fXfRef, fZfRef).
double fMcMiss(McRunResult const& res, double fXfRef, double fZfRef);

// The nearest-rank radius: the ceil(iPercent * n / 100)-th smallest of
// afSorted (ascending, n >= 1); iPercent 1..100.
double fMcRadiusAtPercent(std::vector<double> const& afSorted, int iPercent);

// Statistics of n >= 1 results (in run order).
McSummary mcSummarize(const McRunResult* arResult, Long n, double fXfRef, double fZfRef);

// What the summary names besides the figures.
struct McSummaryLabels {
    std::string szPlanFile;        // flight plan file
    std::string szDispersionFile;  // dispersion file
    unsigned long long uRngSeed = 0;  // random seed of the campaign
    std::string szRefFrom;         // where the planned end point comes from
    std::string szFlightMode;      // a guided campaign: "guided ..." (empty: open loop,
                                   // and the summary has no flight mode line)
};

// The summary text (ends with a newline).
std::string szMcSummaryText(McSummary const& summ, McSummaryLabels const& labels);

// The header row of mc_runs.csv and one run's row (both end with "\n"). A
// guided campaign's table has one more column, "mode", that says "guided".
std::string szMcCsvHeader(bool bGuided = false);
std::string szMcCsvRow(McRunResult const& res, double fMiss, bool bGuided = false);

// Writes mc_runs.csv-style output for n results in run order, formatting the
// rows on nThread threads (the bytes do not depend on nThread); false when
// the file cannot be written.
bool bWriteMcCsv(const char* szFile, const McRunResult* arResult, Long n, double fXfRef,
                 double fZfRef, Long nThread = 1, bool bGuided = false);
