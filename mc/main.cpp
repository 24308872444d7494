// Entry point of vantorell-mc, the landing-dispersion program.
//
//   vantorell-mc [OPTION]... [DISPERSION_FILE]
//   mpirun -np P vantorell-mc [OPTION]... [DISPERSION_FILE]
//
// Flies the flight plan N times with the vehicle and its start perturbed as
// the dispersion file says, on every core of this machine and, under MPI, on
// every process of the job: the runs are shared out cyclically, process 0
// reads the input files and sends their text to the others (so only it needs
// to see them), gathers the results and writes the reports.
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "mc/campaign.h"
#include "mc/dispersion.h"
#include "mc/picture.h"
#include "mc/summary.h"
#include "sim/params.h"

#ifdef VT_MC_HAVE_MPI
#include <mpi.h>
#endif

namespace {

const char szUsage[] =
    "Usage: vantorell-mc [OPTION]... [DISPERSION_FILE]\n"
    "       mpirun -np P vantorell-mc [OPTION]... [DISPERSION_FILE]\n"
    "Fly the flight plan many times with the vehicle and its start perturbed\n"
    "(landing dispersion). DISPERSION_FILE defaults to dispersion.txt.\n"
    "\n"
    "  -C DIR          change to DIR before doing anything else\n"
    "  -j N            fly on N threads per process (default: all cores,\n"
    "                  shared among the processes of this machine)\n"
    "  --plan FILE     the flight plan to fly (default fltplan.txt)\n"
    "  --runs N        fly N runs, whatever the dispersion file says\n"
    "  --target X,Z    measure misses from (X, Z) in m instead of from the rest\n"
    "                  point of the undispersed flight\n"
    "  --guided        fly every run guided (the law of the `g` command, with the\n"
    "                  settings of guidance.txt when it exists)\n"
    "  --no-picture    do not write mc_rest_points.png\n"
    "  --help          show this help and exit\n"
    "  --version       show the version and exit\n"
    "\n"
    "The dispersion file has one parameter a line, '#' comments, SI units:\n"
    "  runs N                  number of runs (default 1000)\n"
    "  rng_seed S              random seed of the campaign (default 1)\n"
    "  NAME DEVIATION [LO HI]  a normal deviation of mean 0, kept within [LO, HI]\n"
    "NAME is one of: thrust_scale (relative), moment_bias (N*m), exhaust_speed\n"
    "(m/s), initial_mass (kg), drag_scale (relative), initial_pitch (rad),\n"
    "initial_pitch_rate (rad/s), initial_vx (m/s), command_delay (s); and for\n"
    "--guided: sensor_position (m), sensor_velocity (m/s), sensor_pitch (rad),\n"
    "sensor_pitch_rate (rad/s), noise on what the law sees at every update.\n"
    "\n"
    "Writes mc_runs.csv (one row per run), mc_summary.txt (also printed on\n"
    "standard output) and mc_rest_points.png in the current directory. Shows\n"
    "progress on standard error when it is a terminal. The reports are the same\n"
    "byte for byte for any number of threads and processes.\n"
    "\n"
    "Exit status: 0 when the campaign ran, 1 when the flight plan could not be\n"
    "read or a report could not be written, 2 on a usage error or a bad\n"
    "dispersion file (the message names the file, the line and the problem).\n"
    "A flight that breaks one of the simulation's assertions stops the whole\n"
    "campaign with that assertion, after naming the runs in flight.\n";

const char szRunsCsv[] = "mc_runs.csv";
const char szSummaryTxt[] = "mc_summary.txt";
const char szPicturePng[] = "mc_rest_points.png";

// Only process 0 speaks for the job.
bool bSpeakForJob = true;

int usageError(const std::string& szWhat) {
    if (!bSpeakForJob) return 2;
    std::fprintf(stderr, "vantorell-mc: %s\nTry 'vantorell-mc --help' for more information.\n",
                 szWhat.c_str());
    return 2;
}

struct Options {
    const char* szDir = nullptr;
    Long nThread = 0;  // 0: all cores
    std::string szPlan = "fltplan.txt";
    std::string szDispersion = "dispersion.txt";
    Long nRunOverride = 0;
    bool bTarget = false;
    double fXfTarget = 0.0;
    double fZfTarget = 0.0;
    bool bPicture = true;
    bool bGuided = false;
};

// Parses the command line; returns -1 to go on, or an exit status.
int iParseArgs(int argc, char** argv, Options* popt) {
    const bool bSpeak = bSpeakForJob;
    bool bDispersionGiven = false;
    for (int i = 1; i < argc; i++) {
        const std::string szArg = argv[i];
        if (szArg == "--help") {
            if (bSpeak) std::fputs(szUsage, stdout);
            return 0;
        }
        if (szArg == "--version") {
            if (bSpeak) std::printf("vantorell-mc %s\n", VT_VERSION);
            return 0;
        }
        if (szArg == "--guided") {
            popt->bGuided = true;
            continue;
        }
        if (szArg == "--no-picture") {
            popt->bPicture = false;
            continue;
        }
        if (szArg == "-C" || szArg == "-j" || szArg == "--plan" || szArg == "--runs" ||
            szArg == "--target") {
            if (i + 1 >= argc) return usageError("option requires an argument -- " + szArg);
            const std::string szVal = argv[++i];
            char chEnd = 0;
            if (szArg == "-C") {
                popt->szDir = argv[i];
            } else if (szArg == "-j") {
                int n = 0;
                if (std::sscanf(szVal.c_str(), "%d%c", &n, &chEnd) != 1 || n < 1 ||
                    n > nMcThreadSlot)
                    return usageError("-j wants a number of threads from 1 to 256");
                popt->nThread = n;
            } else if (szArg == "--plan") {
                popt->szPlan = szVal;
            } else if (szArg == "--runs") {
                long long n = 0;
                if (std::sscanf(szVal.c_str(), "%lld%c", &n, &chEnd) != 1 || n < 1 ||
                    n > nMcRunMax)
                    return usageError("--runs wants a number from 1 to 100000000");
                popt->nRunOverride = static_cast<Long>(n);
            } else {
                double x = 0.0, z = 0.0;
                if (std::sscanf(szVal.c_str(), "%lf,%lf%c", &x, &z, &chEnd) != 2 ||
                    !std::isfinite(x) || !std::isfinite(z))
                    return usageError("--target wants X,Z in metres, e.g. --target 30,0");
                popt->bTarget = true;
                popt->fXfTarget = x;
                popt->fZfTarget = z;
            }
            continue;
        }
        if (szArg.size() > 1 && szArg[0] == '-')
            return usageError("unrecognised option '" + szArg + "'");
        if (bDispersionGiven) return usageError("more than one dispersion file given");
        popt->szDispersion = szArg;
        bDispersionGiven = true;
    }
    return -1;
}

bool bReadWholeFile(const std::string& szFile, std::string* psz) {
    std::ifstream in(szFile, std::ios::binary);
    if (!in) return false;
    std::ostringstream ss;
    ss << in.rdbuf();
    *psz = ss.str();
    return !in.bad();
}

// Reads a schedule from text held in memory (the file's bytes).
void readScheduleText(McSchedule* psched, std::string const& szText, const char* szName) {
    std::string szCopy = szText;
    std::FILE* pfile = fmemopen(szCopy.data(), szCopy.size(), "r");
    if (pfile == nullptr) {
        // fmemopen refuses an empty buffer: an empty file reads as one.
        pfile = std::tmpfile();
        if (pfile == nullptr) {
            std::fprintf(stderr, "vantorell-mc: can't read flight plan %s\n", szName);
            std::exit(1);
        }
    }
    readMcSchedule(psched, pfile, szName);
    std::fclose(pfile);
}

// ---- the processes -------------------------------------------------------------------

// The MPI job, or a lone process when the program was not started by mpirun
// (or was built without MPI).
struct Job {
    int iRank = 0;
    int nRank = 1;
    int nRankHere = 1;  // processes on this machine
    bool bMpi = false;
};

#ifdef VT_MC_HAVE_MPI
bool bStartedByMpirun() {
    return std::getenv("OMPI_COMM_WORLD_SIZE") != nullptr || std::getenv("PMIX_RANK") != nullptr ||
           std::getenv("PMI_RANK") != nullptr;
}
#endif

void startJob(Job* pjob, int* pargc, char*** pargv) {
#ifdef VT_MC_HAVE_MPI
    if (!bStartedByMpirun()) return;
    int iProvided = 0;
    MPI_Init_thread(pargc, pargv, MPI_THREAD_FUNNELED, &iProvided);
    pjob->bMpi = true;
    MPI_Comm_rank(MPI_COMM_WORLD, &pjob->iRank);
    MPI_Comm_size(MPI_COMM_WORLD, &pjob->nRank);
    MPI_Comm commHere;
    MPI_Comm_split_type(MPI_COMM_WORLD, MPI_COMM_TYPE_SHARED, 0, MPI_INFO_NULL, &commHere);
    MPI_Comm_size(commHere, &pjob->nRankHere);
    MPI_Comm_free(&commHere);
#else
    (void)pjob;
    (void)pargc;
    (void)pargv;
#endif
}

int iEndJob(Job const& job, int iStatus) {
#ifdef VT_MC_HAVE_MPI
    if (job.bMpi) MPI_Finalize();
#else
    (void)job;
#endif
    return iStatus;
}

// Process 0's view of an integer, for every process.
int iShared(Job const& job, int i) {
#ifdef VT_MC_HAVE_MPI
    if (job.bMpi) MPI_Bcast(&i, 1, MPI_INT, 0, MPI_COMM_WORLD);
#else
    (void)job;
#endif
    return i;
}

// Process 0's text, for every process.
void shareText(Job const& job, std::string* psz) {
#ifdef VT_MC_HAVE_MPI
    if (!job.bMpi) return;
    unsigned long long nCh = psz->size();
    MPI_Bcast(&nCh, 1, MPI_UNSIGNED_LONG_LONG, 0, MPI_COMM_WORLD);
    psz->resize(static_cast<std::size_t>(nCh));
    // In pieces, as MPI counts are int.
    constexpr std::size_t nPiece = 1 << 30;
    for (std::size_t i = 0; i < psz->size(); i += nPiece) {
        const std::size_t n = std::min(nPiece, psz->size() - i);
        MPI_Bcast(psz->data() + i, static_cast<int>(n), MPI_CHAR, 0, MPI_COMM_WORLD);
    }
#else
    (void)job;
    (void)psz;
#endif
}

// Every process's results, on process 0, in run order (arAll[k - 1] is run
// k). Other processes get an empty vector.
std::vector<McRunResult> aGatherResults(Job const& job, std::vector<McRunResult> const& aMine,
                                        Long nRun) {
    std::vector<McRunResult> aAll;
    if (!job.bMpi) {
        aAll.resize(static_cast<std::size_t>(nRun));
        for (McRunResult const& res : aMine) aAll[static_cast<std::size_t>(res.iRun - 1)] = res;
        return aAll;
    }
#ifdef VT_MC_HAVE_MPI
    MPI_Datatype typeResult;
    MPI_Type_contiguous(static_cast<int>(sizeof(McRunResult)), MPI_BYTE, &typeResult);
    MPI_Type_commit(&typeResult);
    std::vector<int> anCount, aiDispl;
    std::vector<McRunResult> aRecv;
    if (job.iRank == 0) {
        anCount.resize(static_cast<std::size_t>(job.nRank));
        aiDispl.resize(static_cast<std::size_t>(job.nRank));
        int iDispl = 0;
        for (int r = 0; r < job.nRank; r++) {
            anCount[static_cast<std::size_t>(r)] =
                static_cast<int>(aiMcRunsOfRank(nRun, r, job.nRank).size());
            aiDispl[static_cast<std::size_t>(r)] = iDispl;
            iDispl += anCount[static_cast<std::size_t>(r)];
        }
        aRecv.resize(static_cast<std::size_t>(nRun));
    }
    MPI_Gatherv(aMine.data(), static_cast<int>(aMine.size()), typeResult, aRecv.data(),
                anCount.data(), aiDispl.data(), typeResult, 0, MPI_COMM_WORLD);
    MPI_Type_free(&typeResult);
    if (job.iRank == 0) {
        aAll.resize(static_cast<std::size_t>(nRun));
        for (McRunResult const& res : aRecv) aAll[static_cast<std::size_t>(res.iRun - 1)] = res;
    }
#endif
    return aAll;
}

// ---- progress and the abort report ----------------------------------------------------

struct Progress {
    std::chrono::steady_clock::time_point tStart;
    Long nRankShare;  // processes sharing the campaign (this one shows its own part)
};

void showProgress(Long nDone, Long nTotal, void* pv) {
    Progress const& prog = *static_cast<Progress*>(pv);
    const double fS =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - prog.tStart).count();
    const double fRate = (fS > 0.0) ? nDone / fS : 0.0;
    const double fLeft = (fRate > 0.0) ? (nTotal - nDone) / fRate : 0.0;
    if (nDone == 0)
        std::fprintf(stderr, "\rvantorell-mc: 0/%i runs%s", nTotal,
                     prog.nRankShare > 1 ? " (this process)" : "");
    else
        std::fprintf(stderr, "\rvantorell-mc: %i/%i runs%s, %.0f runs/s, %.0f s left   ", nDone,
                     nTotal, prog.nRankShare > 1 ? " (this process)" : "", fRate, fLeft);
    if (nDone >= nTotal) std::fputs("\n", stderr);
    std::fflush(stderr);
}

// The run each flying thread is on (0 when idle), kept by mcFlyRuns for the
// abort report below: a signal handler reaches nothing else.
std::atomic<Long> aiMcRunInFlight[nMcThreadSlot];

// On an assertion (abort) inside a flight: name the runs in flight, then
// abort. Only async-signal-safe calls.
void reportRunsInFlight(int) {
    char sz[4096];
    std::size_t n = 0;
    auto put = [&](const char* szPart) {
        while (*szPart != '\0' && n < sizeof sz - 1) sz[n++] = *szPart++;
    };
    put("vantorell-mc: stopped during run(s)");
    bool bAny = false;
    for (int i = 0; i < nMcThreadSlot; i++) {
        Long iRun = aiMcRunInFlight[i].load(std::memory_order_relaxed);
        if (iRun <= 0) continue;
        char szNum[16];
        int nDigit = 0;
        while (iRun > 0 && nDigit < 15) {
            szNum[nDigit++] = static_cast<char>('0' + iRun % 10);
            iRun /= 10;
        }
        put(" ");
        while (nDigit > 0 && n < sizeof sz - 1) sz[n++] = szNum[--nDigit];
        bAny = true;
    }
    if (!bAny) put(" (none)");
    put("\n");
    ssize_t iIgnored = write(STDERR_FILENO, sz, n);
    (void)iIgnored;
    // Then end as the abort would have ended the process.
    signal(SIGABRT, SIG_DFL);
    raise(SIGABRT);
}

}  // namespace

int main(int argc, char** argv) {
    Job job;
    startJob(&job, &argc, &argv);
    const bool bLead = job.iRank == 0;
    bSpeakForJob = bLead;

    Options opt;
    const int iArgs = iParseArgs(argc, argv, &opt);
    if (iArgs >= 0) return iEndJob(job, iArgs);

    // 1. The inputs, read by process 0 and checked there first.
    std::string szDispersionText, szPlanText, szGuidanceText;
    const char szGuidanceFile[] = "guidance.txt";
    GuidanceSettings gs;
    int iStatus = 0;
    McDispersion disp;
    McSchedule sched;
    std::string szErr;
    if (bLead) {
        if (opt.szDir != nullptr && chdir(opt.szDir) != 0) {
            std::fprintf(stderr, "vantorell-mc: cannot change to directory '%s'\n", opt.szDir);
            iStatus = 2;
        } else if (!bReadWholeFile(opt.szDispersion, &szDispersionText)) {
            std::fprintf(stderr, "vantorell-mc: can't read dispersion file %s\n",
                         opt.szDispersion.c_str());
            iStatus = 2;
        } else if (!bParseDispersionText(&disp, szDispersionText, opt.szDispersion.c_str(),
                                         &szErr)) {
            std::fprintf(stderr, "vantorell-mc: %s\n", szErr.c_str());
            iStatus = 2;
        } else if (!bReadWholeFile(opt.szPlan, &szPlanText)) {
            std::fprintf(stderr, "vantorell-mc: can't open flight plan %s\n", opt.szPlan.c_str());
            iStatus = 1;
        } else if (opt.bGuided && bReadWholeFile(szGuidanceFile, &szGuidanceText) &&
                   !bParseGuidanceText(&gs, szGuidanceText, szGuidanceFile, &szErr)) {
            std::fprintf(stderr, "vantorell-mc: %s\n", szErr.c_str());
            iStatus = 2;
        } else {
            // A bad plan ends here (exit 1, with its message), as it would
            // end the simulate command.
            readScheduleText(&sched, szPlanText, opt.szPlan.c_str());
        }
    }
    iStatus = iShared(job, iStatus);
    if (iStatus != 0) return iEndJob(job, iStatus);
    shareText(job, &szDispersionText);
    shareText(job, &szPlanText);
    shareText(job, &szGuidanceText);
    if (!bLead) {
        if (!bParseGuidanceText(&gs, szGuidanceText, szGuidanceFile, &szErr))
            return iEndJob(job, 2);
        // The same text as process 0 checked: this cannot fail.
        if (!bParseDispersionText(&disp, szDispersionText, opt.szDispersion.c_str(), &szErr))
            return iEndJob(job, 2);
        readScheduleText(&sched, szPlanText, opt.szPlan.c_str());
    }
    if (opt.nRunOverride > 0) disp.nRun = opt.nRunOverride;
    Scenario sc;
    initParams(&sc);

    // The guided campaign's reference, built once from the undispersed plan.
    std::unique_ptr<GuidanceRef> pref;
    McGuided guided;
    if (opt.bGuided) {
        pref = std::make_unique<GuidanceRef>(sched.arFTiCmd, sched.arFFcThrustCmd,
                                             sched.arFMmPitchCmd, sc.vehicle, sc.planet, sc.stvehicle3dof0,
                                             FlightSettings{}.fTiIC, gs);
        guided.pref = pref.get();
        guided.gains = guidanceGainsFm(gs, sc.vehicle, sc.planet);
        guided.uRngSeed = disp.uRngSeed;
        for (int j = 0; j < nMcSensor; j++) guided.arPertSensor[j] = disp.arPertSensor[j];
    }
    McGuided const* pguided = opt.bGuided ? &guided : nullptr;

    // 2. Threads: all cores of this machine, shared among its processes.
    Long nThread = opt.nThread;
    if (nThread == 0) {
        const unsigned nCore = std::thread::hardware_concurrency();
        nThread = static_cast<Long>(nCore > 0 ? nCore : 1) / job.nRankHere;
        if (nThread < 1) nThread = 1;
        if (nThread > nMcThreadSlot) nThread = nMcThreadSlot;
    }

    // 3. This process's runs.
    signal(SIGABRT, reportRunsInFlight);
    const std::vector<Long> aiRun = aiMcRunsOfRank(disp.nRun, job.iRank, job.nRank);
    std::vector<McRunResult> aMine(aiRun.size());
    Progress prog{std::chrono::steady_clock::now(), job.nRank};
    const bool bProgress = bLead && isatty(STDERR_FILENO);
    mcFlyRuns(sc, aMine.data(), aiRun, sched, disp, nThread, bProgress ? showProgress : nullptr,
              &prog, pguided, aiMcRunInFlight);
    const double fS =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - prog.tStart).count();

    // 4. Everything on process 0, in run order.
    const std::vector<McRunResult> aAll = aGatherResults(job, aMine, disp.nRun);
    if (!bLead) return iEndJob(job, 0);
    signal(SIGABRT, SIG_DFL);

    // 5. The planned end point, the statistics and the reports.
    double fXfRef = opt.fXfTarget, fZfRef = opt.fZfTarget;
    std::string szRefFrom = "given with --target";
    if (!opt.bTarget) {
        McWork work;
        const McRunResult resNominal = mcRunFly(sc, sched, McInputs{}, 0, &work, pguided);
        fXfRef = resNominal.fXfRest;
        fZfRef = resNominal.fZfRest;
        szRefFrom = "rest point of the undispersed flight";
    }
    const McSummary summ = mcSummarize(aAll.data(), disp.nRun, fXfRef, fZfRef);
    McSummaryLabels labels;
    labels.szPlanFile = opt.szPlan;
    labels.szDispersionFile = opt.szDispersion;
    labels.uRngSeed = disp.uRngSeed;
    labels.szRefFrom = szRefFrom;
    if (opt.bGuided) {
        char sz[200];
        std::snprintf(sz, sizeof sz, "guided (%g Hz; bandwidths pitch %.3g, x %.3g, z %.3g rad/s)",
                      gs.fHzControl, guided.gains.fOmegaPitch, guided.gains.fOmegaX,
                      guided.gains.fOmegaZ);
        labels.szFlightMode = sz;
    }
    const std::string szSummary = szMcSummaryText(summ, labels);
    std::fputs(szSummary.c_str(), stdout);
    std::fflush(stdout);

    iStatus = 0;
    if (!bWriteMcCsv(szRunsCsv, aAll.data(), disp.nRun, fXfRef, fZfRef, nThread, opt.bGuided)) {
        std::fprintf(stderr, "vantorell-mc: can't write %s\n", szRunsCsv);
        iStatus = 1;
    }
    std::FILE* pfile = std::fopen(szSummaryTxt, "w");
    bool bSummaryOk = pfile != nullptr;
    if (pfile != nullptr) {
        bSummaryOk = std::fputs(szSummary.c_str(), pfile) >= 0;
        if (std::fclose(pfile) != 0) bSummaryOk = false;
    }
    if (!bSummaryOk) {
        std::fprintf(stderr, "vantorell-mc: can't write %s\n", szSummaryTxt);
        iStatus = 1;
    }
    if (opt.bPicture) {
        const bool bOk = bWriteMcPicture(szPicturePng, &sc.arPArPPtVtxPgnGnd, aAll.data(), disp.nRun, fXfRef, fZfRef,
                                         summ.fR50, summ.fR95, &szErr);
        if (!bOk) std::fprintf(stderr, "vantorell-mc: %s\n", szErr.c_str());
        // A build without the picture says so; that is no failure.
        if (!bOk && bMcPictureAvailable()) iStatus = 1;
    }
    std::fprintf(stderr,
                 "vantorell-mc: %i runs in %.2f s on %i process%s x %i thread%s (%.0f runs/s)\n",
                 disp.nRun, fS, job.nRank, job.nRank == 1 ? "" : "es", nThread,
                 nThread == 1 ? "" : "s", fS > 0.0 ? disp.nRun / fS : 0.0);
    return iEndJob(job, iStatus);
}
