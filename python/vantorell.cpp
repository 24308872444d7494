// The Python module "vantorell": design, plan, fly and disperse hops from
// Python.
//
// Built over vtlib_py, the computational library compiled with
// VT_STOP_THROWS: a fatal error or a failed assertion throws ProgramStop
// instead of ending the process, and every entry point below turns it into
// vantorell.Error carrying the program's own message text. Stops are not
// reported on standard error (the exception says it all) and no run log is
// written unless set_log() opens one.
//
// State: the built-in scenario (planet, vehicle, initial state, ground) is
// made once at import and only read afterwards. Each plan() works on a plan
// state of its own and copies everything a Plan needs before it returns; a
// Plan owns its numbers and its schedule. Flights only read the parameters and a schedule, each with a
// model, work arrays and records of its own (as the dispersion runs do), so
// fly() and dispersion() release the lock while the vehicle flies.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "app/plotdata.h"
#include "core/logerror.h"
#include "geom/geom3c.h"
#include "mc/campaign.h"
#include "mc/dispersion.h"
#include "mc/summary.h"
#include "design/design.h"
#include "design/hopfile.h"
#include "plan/planstate.h"
#include "plan/report.h"
#include "plan/wptfpln.h"
#include "sim/flight.h"
#include "guide/guidance.h"
#include "sim/params.h"

namespace py = pybind11;

namespace {

// ---- errors --------------------------------------------------------------------

struct VtError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The message of a stop: the text a fatal error reports (without the frame
// "FATAL ERROR --" of the log record), or the failed assertion.
std::string szStopMessage(ProgramStop const& stop) {
    std::string sz = stop.szWhat;
    if (stop.iStatus != 1) return "assertion failed: " + sz;
    const std::string szFrame = "FATAL ERROR --\n    ";
    if (sz.rfind(szFrame, 0) == 0) sz.erase(0, szFrame.size());
    while (!sz.empty() && sz.back() == '\n') sz.pop_back();
    return sz;
}

// Runs fn, turning a stop of the program into VtError.
template <class Fn>
auto guarded(Fn&& fn) -> decltype(fn()) {
    try {
        return fn();
    } catch (ProgramStop const& stop) {
        throw VtError(szStopMessage(stop));
    }
}

// ---- numpy helpers -------------------------------------------------------------

py::array_t<double> arrayOf(std::vector<double> const& vec) {
    py::array_t<double> arr(static_cast<py::ssize_t>(vec.size()));
    if (!vec.empty()) std::memcpy(arr.mutable_data(), vec.data(), vec.size() * sizeof(double));
    return arr;
}

template <class T, class Fn>
py::array_t<T> arrayFrom(std::size_t n, Fn fn) {
    py::array_t<T> arr(static_cast<py::ssize_t>(n));
    T* p = arr.mutable_data();
    for (std::size_t i = 0; i < n; i++) p[i] = fn(i);
    return arr;
}

bool bWriteBytes(std::string const& szFile, std::string const& szText) {
    std::FILE* pfile = std::fopen(szFile.c_str(), "wb");
    if (pfile == nullptr) return false;
    bool bOk = std::fwrite(szText.data(), 1, szText.size(), pfile) == szText.size();
    if (std::fclose(pfile) != 0) bOk = false;
    return bOk;
}

// What a FILE* writer writes, as a string.
template <class Fn>
std::string szWrittenBy(Fn fn) {
    char* pch = nullptr;
    std::size_t n = 0;
    std::FILE* pfile = open_memstream(&pch, &n);
    if (pfile == nullptr) throw VtError("out of memory");
    fn(pfile);
    std::fclose(pfile);
    std::string sz(pch, n);
    std::free(pch);
    return sz;
}

std::string szPathOf(py::handle h) { return py::str(py::module_::import("os").attr("fspath")(h)); }

bool bIsPath(py::handle h) {
    return py::isinstance<py::str>(h) || py::hasattr(h, "__fspath__");
}

// ---- the schedule --------------------------------------------------------------

// Reads a schedule from text held in memory, naming szName in messages.
std::shared_ptr<McSchedule> pschedFmText(std::string const& szText, const char* szName) {
    auto psched = std::make_shared<McSchedule>();
    std::string szCopy = szText;
    // An empty buffer is refused by fmemopen; an empty temporary file reads
    // the same way.
    std::FILE* pfile = szCopy.empty() ? std::tmpfile()
                                      : fmemopen(szCopy.data(), szCopy.size(), "r");
    if (pfile == nullptr) throw VtError(std::string("can't read flight plan ") + szName);
    try {
        readMcSchedule(psched.get(), pfile, szName);
    } catch (...) {
        std::fclose(pfile);
        throw;
    }
    std::fclose(pfile);
    return psched;
}

// ---- the scenario --------------------------------------------------------------

// The built-in scenario, made at the module's first use and only read from
// then on, so any number of threads may plan and fly in it at once.
Scenario& scenario() {
    static BuiltInScenario builtin;
    return builtin;
}

// ---- Plan ----------------------------------------------------------------------

struct Plan {
    std::vector<double> vecWaypoint;  // t x z ...
    std::vector<double> vecT, vecX, vecZ, vecPitch, vecThrust, vecMoment, vecMs;
    std::vector<double> vecThrusterMin, vecThrusterMax;
    double fHorzRange = 0.0, fMsProp = 0.0, fFThrusterMin = 0.0, fFThrusterMax = 0.0;
    std::vector<PlanViolation> vecViolation;
    std::string szFltplan;  // the bytes of "fltplan.txt"
    std::string szSummary;  // the SUMMARY block as the listing writes it
    std::shared_ptr<McSchedule> psched;

    py::dict summary() const {
        py::dict d;
        const double fShare = scenario().fFcThrustMax / 3.0;
        d["horizontal_range"] = fHorzRange;
        d["propellant_mass"] = fMsProp;
        d["max_thruster_force"] = fFThrusterMax;
        d["min_thruster_force"] = fFThrusterMin;
        d["max_thruster_percent"] = fFThrusterMax * 100 / fShare;
        d["min_thruster_percent"] = fFThrusterMin * 100 / fShare;
        d["throttle_range_percent"] = (1 - fFThrusterMin / fFThrusterMax) * 100;
        d["text"] = szSummary;
        return d;
    }

    py::list checks() const {
        py::list lst;
        for (PlanViolation const& v : vecViolation) {
            py::dict d;
            const char* szCheck = "";
            switch (v.check) {
                case PlanCheck::ThrusterAboveShare: szCheck = "thruster_above_share"; break;
                case PlanCheck::ThrusterBelowZero: szCheck = "thruster_below_zero"; break;
                case PlanCheck::MassAtOrBelowEmpty: szCheck = "mass_at_or_below_empty"; break;
                case PlanCheck::BelowTerrain: szCheck = "below_terrain"; break;
            }
            d["check"] = szCheck;
            d["thruster"] = v.iThruster;
            d["t_first"] = v.fTiFirst;
            d["t_last"] = v.fTiLast;
            d["t_worst"] = v.fTiWorst;
            d["x"] = v.fX;
            d["value"] = v.fValue;
            d["limit"] = v.fLimit;
            d["amount"] = v.fAmount;
            d["text"] = szPlanViolation(v);
            lst.append(d);
        }
        return lst;
    }
};

// Copies a plan just made into a Plan.
std::shared_ptr<Plan> pplanFm(PlanState const& ps) {
    Scenario& sc = scenario();
    auto pplan = std::make_shared<Plan>();
    Plan& plan = *pplan;
    Vd<double>* const pvdfParamTraj1 = ps.pvdfParamTraj1;
    Vd<double>* const pvdfT = ps.pvdfT;
    A<unsigned char*>* const paPVdfX = ps.paPVdfX;
    A<unsigned char*>* const paPVdfF = ps.paPVdfF;
    A<unsigned char*>* const paPVdfM = ps.paPVdfM;
    for (Long i = pvdfParamTraj1->lo; i <= pvdfParamTraj1->hi; i++)
        plan.vecWaypoint.push_back((*pvdfParamTraj1)[i]);
    for (Long i = pvdfT->lo; i <= pvdfT->hi; i++) {
        const Vd<double>& vdfX = *pvdfAt(paPVdfX, i);
        const Vd<double>& vdfF = *pvdfAt(paPVdfF, i);
        const Vd<double>& vdfM = *pvdfAt(paPVdfM, i);
        plan.vecT.push_back((*pvdfT)[i]);
        plan.vecX.push_back(vdfX[1]);
        plan.vecZ.push_back(vdfX[3]);
        plan.vecPitch.push_back((*ps.pvdfPitch)[i]);
        plan.vecThrust.push_back(std::sqrt(vdfF[1] * vdfF[1] + vdfF[3] * vdfF[3]));
        plan.vecMoment.push_back(vdfM[2]);
        plan.vecMs.push_back((*ps.pvdfMs)[i]);
        double afF[3];
        fFThrustersFm(afF, vdfF, vdfM);
        plan.vecThrusterMin.push_back(std::min({afF[0], afF[1], afF[2]}));
        plan.vecThrusterMax.push_back(std::max({afF[0], afF[1], afF[2]}));
    }
    plan.fHorzRange = ps.fHorzRange;
    plan.fMsProp = ps.fMsProp;
    plan.fFThrusterMin = ps.fFThrusterMin;
    plan.fFThrusterMax = ps.fFThrusterMax;
    plan.vecViolation = vecPlanViolationFm(pvdfT, paPVdfX, ps.pvdfMs, paPVdfF, paPVdfM,
                                           sc.fFcThrustMax, sc.fMsEmpty, &sc.arPArPPtVtxPgnGnd);
    plan.szFltplan =
        szWrittenBy([&](std::FILE* pfile) { writeFltplan(pfile, pvdfT, paPVdfF, paPVdfM); });
    plan.szSummary = szWrittenBy([&](std::FILE* pfile) {
        printSummary(pfile, false, ps.fHorzRange, ps.fMsProp, ps.fFThrusterMin, ps.fFThrusterMax,
                     sc.fFcThrustMax);
    });
    plan.psched = pschedFmText(plan.szFltplan, "fltplan.txt");
    return pplan;
}

std::shared_ptr<Plan> planFm(py::object source) {
    return guarded([&]() -> std::shared_ptr<Plan> {
        bool bOk = false;
        PlanState ps;
        if (bIsPath(source)) {
            bOk = ps.bPlanTraj1FromFile(scenario(), szPathOf(source).c_str());
        } else {
            // A sequence of (t, x, z): checked as the reader checks a file.
            std::vector<double> vec;
            for (py::handle hPt : source) {
                auto seq = py::reinterpret_borrow<py::sequence>(hPt);
                if (py::len(seq) != 3)
                    throw VtError("a waypoint is three numbers (t, x, z)");
                for (py::handle hF : seq) {
                    const double f = hF.cast<double>();
                    if (!std::isfinite(f)) throw VtError("waypoint number not finite");
                    vec.push_back(f);
                }
            }
            if (vec.empty()) throw VtError("no waypoints");
            auto* pvdf = new Vd<double>(1, static_cast<Long>(vec.size()));
            for (std::size_t i = 0; i < vec.size(); i++) (*pvdf)[static_cast<Long>(i) + 1] = vec[i];
            bOk = ps.bPlanTraj1FromParams(scenario(), pvdf);
        }
        if (!bOk) throw VtError("couldn't solve");
        return pplanFm(ps);
    });
}

// ---- Run -----------------------------------------------------------------------

struct Run {
    std::vector<double> vecT;
    std::vector<Stvehicle3dof> vecSt;
    SimReport report;
    McRunResult res{};
    py::dict dictArrays;  // the numpy arrays, made once

    void writeResults(std::string const& szFile) const {
        std::FILE* pfile = std::fopen(szFile.c_str(), "w");
        if (pfile == nullptr) throw VtError("can't write " + szFile);
        std::fclose(pfile);
        const Long n = static_cast<Long>(vecT.size());
        A1Val<double> arFTi(1, n);
        A1Val<void*> arPSt(1, n);
        for (Long i = 1; i <= n; i++) {
            arFTi[i] = vecT[static_cast<std::size_t>(i - 1)];
            arPSt[i] = const_cast<Stvehicle3dof*>(&vecSt[static_cast<std::size_t>(i - 1)]);
        }
        writeResultsTxt(szFile.c_str(), arFTi, arPSt);
    }

    py::dict outcome() const {
        py::dict d;
        d["stop"] = szSimStop(report.stop);
        d["steps"] = report.nStep;
        d["step_min"] = report.fDTiStepMin;
        d["step_max"] = report.fDTiStepMax;
        d["touchdown"] = report.bTouchdown;
        d["touchdown_time"] = report.fTiTouchdown;
        d["touchdown_vx"] = report.fVeXfTouchdown;
        d["touchdown_vz"] = report.fVeZfTouchdown;
        d["ran_dry"] = report.bRanDry;
        d["propellant_left"] = report.fMsPropLeft;
        d["upright"] = res.bUpright != 0;
        d["rest_time"] = res.fTiRest;
        d["rest_x"] = res.fXfRest;
        d["rest_z"] = res.fZfRest;
        d["rest_pitch"] = res.fPitchRest;
        return d;
    }
};

const char* const aszRunArray[] = {"t",         "x",          "z",          "vx",
                                   "vz",        "pitch",      "pitch_rate", "mass",
                                   "thrust_cmd", "thrust_act", "moment_cmd", "moment_act"};

void makeRunArrays(Run* prun) {
    const std::vector<Stvehicle3dof>& v = prun->vecSt;
    const std::size_t n = v.size();
    py::dict& d = prun->dictArrays;
    d["t"] = arrayOf(prun->vecT);
    d["x"] = arrayFrom<double>(n, [&](std::size_t i) { return v[i].fXf; });
    d["z"] = arrayFrom<double>(n, [&](std::size_t i) { return v[i].fZf; });
    d["vx"] = arrayFrom<double>(n, [&](std::size_t i) { return v[i].fVeXf; });
    d["vz"] = arrayFrom<double>(n, [&](std::size_t i) { return v[i].fVeZf; });
    d["pitch"] = arrayFrom<double>(n, [&](std::size_t i) { return v[i].fPitch; });
    d["pitch_rate"] = arrayFrom<double>(n, [&](std::size_t i) { return v[i].fPitchDot; });
    d["mass"] = arrayFrom<double>(n, [&](std::size_t i) { return v[i].fMs; });
    d["thrust_cmd"] = arrayFrom<double>(n, [&](std::size_t i) { return v[i].fFcThrustCmd; });
    d["thrust_act"] = arrayFrom<double>(n, [&](std::size_t i) { return v[i].fFcThrustAct; });
    d["moment_cmd"] = arrayFrom<double>(n, [&](std::size_t i) { return v[i].fMmPitchCmd; });
    d["moment_act"] = arrayFrom<double>(n, [&](std::size_t i) { return v[i].fMmPitchAct; });
}

// The schedule of a Plan or of a flight plan file, and the name messages use.
std::shared_ptr<McSchedule> pschedFm(py::handle source, std::string* pszName) {
    if (py::isinstance<Plan>(source)) {
        *pszName = "fltplan.txt";
        return source.cast<Plan&>().psched;
    }
    if (!bIsPath(source)) throw py::type_error("expected a Plan or the path of a flight plan file");
    *pszName = szPathOf(source);
    std::FILE* pfile = std::fopen(pszName->c_str(), "r");
    if (pfile == nullptr) {
        // The simulate command's fatal error, with its record in the log.
        std::string szMsg = "can't open flight plan " + *pszName;
        std::replace(szMsg.begin(), szMsg.end(), '%', '?');  // the message is used as a format
        guarded([&] { fatalErrorSzMsg(szMsg.c_str()); });
    }
    auto psched = std::make_shared<McSchedule>();
    try {
        guarded([&] { readMcSchedule(psched.get(), pfile, pszName->c_str()); });
    } catch (...) {
        std::fclose(pfile);
        throw;
    }
    std::fclose(pfile);
    return psched;
}

int iMcParamFmName(std::string const& szName) {
    for (int j = 0; j < nMcParam; j++)
        if (szName == szMcParamName(j)) return j;
    throw VtError("unknown name '" + szName + "'");
}

// The settings of the guided flight: the defaults, a guidance file (a path)
// or a dict of its names, written out and parsed as the file is.
GuidanceSettings guidanceSettingsFm(py::handle guidance) {
    GuidanceSettings gs;
    std::string szErr;
    if (guidance.is_none()) return gs;
    if (bIsPath(guidance)) {
        const std::string szFile = szPathOf(guidance);
        std::FILE* pfile = std::fopen(szFile.c_str(), "r");
        if (pfile == nullptr) throw VtError("can't read guidance file " + szFile);
        std::fclose(pfile);
        if (!bReadGuidanceFile(&gs, szFile.c_str(), &szErr)) throw VtError(szErr);
        return gs;
    }
    std::string szText;
    for (auto item : guidance.cast<py::dict>()) {
        char sz[64];
        std::snprintf(sz, sizeof sz, " %.17g\n", item.second.cast<double>());
        szText += std::string(py::str(item.first)) + sz;
    }
    if (!bParseGuidanceText(&gs, szText, "(dict)", &szErr)) throw VtError(szErr);
    return gs;
}

// A guided flight's law for one schedule: the reference and the gains, as
// the guided campaign builds them.
struct Guided {
    GuidanceSettings gs;
    std::unique_ptr<GuidanceRef> pref;
    McGuided mcguided;

    Guided(McSchedule const& sched, GuidanceSettings const& gsIn) : gs(gsIn) {
        pref = std::make_unique<GuidanceRef>(sched.arFTiCmd, sched.arFFcThrustCmd,
                                             sched.arFMmPitchCmd, scenario().vehicle, scenario().planet,
                                             scenario().stvehicle3dof0,
                                             FlightSettings{}.fTiIC, gs);
        mcguided.pref = pref.get();
        mcguided.gains = guidanceGainsFm(gs, scenario().vehicle, scenario().planet);
    }
    std::string szFlightMode() const {
        char sz[200];
        std::snprintf(sz, sizeof sz, "guided (%g Hz; bandwidths pitch %.3g, x %.3g, z %.3g rad/s)",
                      gs.fHzControl, mcguided.gains.fOmegaPitch, mcguided.gains.fOmegaX,
                      mcguided.gains.fOmegaZ);
        return sz;
    }
};

std::unique_ptr<Guided> pguidedFm(bool bGuided, McSchedule const& sched, py::handle guidance) {
    if (!bGuided) {
        if (!guidance.is_none()) throw VtError("guidance settings are for guided=True");
        return nullptr;
    }
    const GuidanceSettings gs = guidanceSettingsFm(guidance);
    return guarded([&] { return std::make_unique<Guided>(sched, gs); });
}

std::shared_ptr<Run> fly(py::object source, bool bGuided, py::object perturb,
                         py::object guidance) {
    std::string szName;
    std::shared_ptr<McSchedule> psched = pschedFm(source, &szName);
    const std::unique_ptr<Guided> pguided = pguidedFm(bGuided, *psched, guidance);
    const McGuided* pmcguided = pguided ? &pguided->mcguided : nullptr;
    McInputs inputs;
    if (!perturb.is_none()) {
        for (auto item : perturb.cast<py::dict>()) {
            const int j = iMcParamFmName(py::str(item.first));
            inputs.arFDev[j] = item.second.cast<double>();
        }
    }
    auto prun = std::make_shared<Run>();
    guarded([&] {
        py::gil_scoped_release release;
        McWork work;
        // Run 0: the undispersed flight of a campaign (no sensor noise).
        prun->res = mcRunFly(scenario(), *psched, inputs, 0, &work, pmcguided, true, &prun->report);
        const Long iFirst = work.arFTiData.iFirst(), iLast = work.arFTiData.iLast();
        if (prun->res.iStop != mcStopUnphysical) {
            prun->vecT.reserve(static_cast<std::size_t>(iLast - iFirst + 1));
            prun->vecSt.reserve(static_cast<std::size_t>(iLast - iFirst + 1));
            for (Long i = iFirst; i <= iLast; i++) {
                prun->vecT.push_back(work.arFTiData[i]);
                prun->vecSt.push_back(*static_cast<Stvehicle3dof*>(work.arPStvehicle[i]));
            }
            deleteStoredRun(&work.arFTiData, &work.arPStvehicle);
        }
    });
    if (prun->res.iStop == mcStopUnphysical)
        throw VtError("the perturbed vehicle is not physical (mass, exhaust speed or drag area)");
    makeRunArrays(prun.get());
    return prun;
}

// ---- dispersion ------------------------------------------------------------------

std::string szNumber(double f) {
    char sz[64];
    std::snprintf(sz, sizeof sz, "%.17g", f);
    return sz;
}

// Flies runs 1..nRun on nThread threads. Each result goes to the slot of its
// run, so the results never depend on the threads. The first stop of any
// flight ends the campaign and is thrown again here.
void flyCampaign(std::vector<McRunResult>* pvecRes, McSchedule const& sched,
                 McDispersion const& disp, McGuided const* pguided, Long nThread) {
    const Long nRun = disp.nRun;
    constexpr Long nChunk = 4;
    std::atomic<Long> iNext{0};
    std::atomic<bool> bStop{false};
    std::mutex mutexStop;
    std::string szStop;
    auto worker = [&] {
        McWork work;
        while (!bStop.load(std::memory_order_relaxed)) {
            const Long iBegin = iNext.fetch_add(nChunk, std::memory_order_relaxed);
            if (iBegin >= nRun) break;
            const Long iEnd = std::min(iBegin + nChunk, nRun);
            for (Long i = iBegin; i < iEnd; i++) {
                try {
                    (*pvecRes)[static_cast<std::size_t>(i)] =
                        mcRunFly(scenario(), sched, mcInputsForRun(disp, i + 1), i + 1, &work, pguided);
                } catch (ProgramStop const& stop) {
                    std::lock_guard<std::mutex> lock(mutexStop);
                    if (!bStop.exchange(true))
                        szStop = "run " + std::to_string(i + 1) + ": " + szStopMessage(stop);
                    return;
                }
            }
        }
    };
    std::vector<std::thread> vecThread;
    for (Long i = 1; i < nThread; i++) vecThread.emplace_back(worker);
    worker();
    for (std::thread& th : vecThread) th.join();
    if (bStop) throw VtError(szStop);
}

py::dict dispersion(py::object source, py::object dispersionIn, py::object runs, py::object seedIn,
                    long nThreadIn, bool bGuided, py::object target, py::object guidance) {
    std::string szPlanName;
    std::shared_ptr<McSchedule> psched = pschedFm(source, &szPlanName);
    const std::unique_ptr<Guided> pguided = pguidedFm(bGuided, *psched, guidance);

    // The dispersion: a file, or a dict written out as one and parsed the
    // same way.
    McDispersion disp;
    std::string szErr;
    std::string szDispName;
    if (bIsPath(dispersionIn)) {
        szDispName = szPathOf(dispersionIn);
        if (!bReadDispersionFile(&disp, szDispName.c_str(), &szErr)) throw VtError(szErr);
    } else {
        szDispName = "(dict)";
        std::string szText;
        for (auto item : dispersionIn.cast<py::dict>()) {
            szText += std::string(py::str(item.first));
            if (py::isinstance<py::tuple>(item.second) || py::isinstance<py::list>(item.second)) {
                for (py::handle h : item.second) szText += " " + szNumber(h.cast<double>());
            } else if (py::isinstance<py::int_>(item.second)) {
                szText += " " + std::string(py::str(item.second));
            } else {
                szText += " " + szNumber(item.second.cast<double>());
            }
            szText += "\n";
        }
        if (!bParseDispersionText(&disp, szText, szDispName.c_str(), &szErr)) throw VtError(szErr);
    }
    if (!runs.is_none()) {
        const long long n = runs.cast<long long>();
        if (n < 1 || n > nMcRunMax) throw VtError("runs wants a number from 1 to 100000000");
        disp.nRun = static_cast<Long>(n);
    }
    if (!seedIn.is_none()) disp.uRngSeed = seedIn.cast<std::uint64_t>();
    McGuided* pmcguided = nullptr;
    if (pguided) {
        pmcguided = &pguided->mcguided;
        pmcguided->uRngSeed = disp.uRngSeed;
        for (int j = 0; j < nMcSensor; j++) pmcguided->arPertSensor[j] = disp.arPertSensor[j];
    }
    Long nThread = static_cast<Long>(nThreadIn);
    if (nThread <= 0) {
        const unsigned nCore = std::thread::hardware_concurrency();
        nThread = nCore > 0 ? static_cast<Long>(nCore) : 1;
    }
    nThread = std::min<Long>(nThread, nMcThreadSlot);

    std::vector<McRunResult> vecRes(static_cast<std::size_t>(disp.nRun));
    double fXfRef = 0.0, fZfRef = 0.0;
    std::string szRefFrom = "given as target";
    if (!target.is_none()) {
        auto seqTarget = target.cast<py::sequence>();
        if (py::len(seqTarget) != 2) throw VtError("target wants (x, z) in metres");
        fXfRef = seqTarget[0].cast<double>();
        fZfRef = seqTarget[1].cast<double>();
    }
    const bool bTarget = !target.is_none();
    guarded([&] {
        py::gil_scoped_release release;
        flyCampaign(&vecRes, *psched, disp, pmcguided, nThread);
        if (!bTarget) {
            McWork work;
            const McRunResult resNominal = mcRunFly(scenario(), *psched, McInputs{}, 0, &work, pmcguided);
            fXfRef = resNominal.fXfRest;
            fZfRef = resNominal.fZfRest;
        }
    });
    if (!bTarget) szRefFrom = "rest point of the undispersed flight";

    const McSummary summ = mcSummarize(vecRes.data(), disp.nRun, fXfRef, fZfRef);
    McSummaryLabels labels;
    labels.szPlanFile = szPlanName;
    labels.szDispersionFile = szDispName;
    labels.uRngSeed = disp.uRngSeed;
    labels.szRefFrom = szRefFrom;
    if (pguided) labels.szFlightMode = pguided->szFlightMode();

    // The columns of mc_runs.csv, without their units.
    const std::size_t n = vecRes.size();
    const std::vector<McRunResult>& v = vecRes;
    const double fNaN = std::nan("");
    py::dict d;
    d["run"] = arrayFrom<long long>(n, [&](std::size_t i) { return v[i].iRun; });
    for (int j = 0; j < nMcParam; j++)
        d[py::str(std::string(szMcParamName(j)) + "_dev")] =
            arrayFrom<double>(n, [&](std::size_t i) { return v[i].arFDev[j]; });
    d["rest_time"] = arrayFrom<double>(n, [&](std::size_t i) { return v[i].fTiRest; });
    d["rest_x"] = arrayFrom<double>(n, [&](std::size_t i) { return v[i].fXfRest; });
    d["rest_z"] = arrayFrom<double>(n, [&](std::size_t i) { return v[i].fZfRest; });
    d["rest_pitch"] = arrayFrom<double>(n, [&](std::size_t i) { return v[i].fPitchRest; });
    auto touchdown = [&](std::size_t i, double f) { return v[i].bTouchdown ? f : fNaN; };
    d["touchdown_time"] =
        arrayFrom<double>(n, [&](std::size_t i) { return touchdown(i, v[i].fTiTouchdown); });
    d["touchdown_vx"] =
        arrayFrom<double>(n, [&](std::size_t i) { return touchdown(i, v[i].fVeXfTouchdown); });
    d["touchdown_vz"] =
        arrayFrom<double>(n, [&](std::size_t i) { return touchdown(i, v[i].fVeZfTouchdown); });
    d["touchdown_speed"] = arrayFrom<double>(n, [&](std::size_t i) {
        return touchdown(i, std::sqrt(v[i].fVeXfTouchdown * v[i].fVeXfTouchdown +
                                      v[i].fVeZfTouchdown * v[i].fVeZfTouchdown));
    });
    d["propellant_left"] = arrayFrom<double>(n, [&](std::size_t i) { return v[i].fMsPropLeft; });
    d["upright"] = arrayFrom<bool>(n, [&](std::size_t i) { return v[i].bUpright != 0; });
    d["ran_dry"] = arrayFrom<bool>(n, [&](std::size_t i) { return v[i].bRanDry != 0; });
    py::list lstStop;
    for (McRunResult const& res : v) lstStop.append(szMcStop(res.iStop));
    d["stop"] = py::module_::import("numpy").attr("array")(lstStop);
    d["steps"] = arrayFrom<long long>(n, [&](std::size_t i) { return v[i].nStep; });
    d["miss"] =
        arrayFrom<double>(n, [&](std::size_t i) { return fMcMiss(v[i], fXfRef, fZfRef); });

    py::dict s;
    s["runs"] = summ.nRun;
    s["random_seed"] = disp.uRngSeed;
    s["target"] = py::make_tuple(fXfRef, fZfRef);
    s["rest_x_mean"] = summ.fXfRestMean;
    s["rest_x_sd"] = summ.fXfRestSd;
    s["r50"] = summ.fR50;
    s["r90"] = summ.fR90;
    s["r95"] = summ.fR95;
    s["upright"] = summ.nUpright;
    s["ran_dry"] = summ.nRanDry;
    py::dict sStop;
    for (Long iStop = mcStopEnd; iStop <= mcStopUnphysical; iStop++)
        sStop[szMcStop(iStop)] = summ.anStop[iStop];
    s["stopped"] = sStop;
    s["worst_run"] = summ.iRunWorst;
    s["worst_miss"] = summ.fMissWorst;
    s["flight_mode"] = pguided ? labels.szFlightMode : std::string("open loop");
    s["text"] = szMcSummaryText(summ, labels);
    d["summary"] = s;
    return d;
}

// ---- the run log -----------------------------------------------------------------

void setLog(py::object path) {
    if (pfileLogCurrent() != nullptr) closeLogFile();
    if (path.is_none()) return;
    const std::string szFile = szPathOf(path);
    openLogFile(szFile.c_str());
    if (pfileLogCurrent() == nullptr) throw VtError("can't open log file " + szFile);
}

// The ground's profile in the flight plane: the polygons cut along their
// y = -1000 edge, as consecutive points (x, z).
py::tuple terrain() {
    std::vector<double> vecX, vecZ;
    A1Val<void*>& arPArPPtVtxPgnGnd = scenario().arPArPPtVtxPgnGnd;
    for (Long iPgn = arPArPPtVtxPgnGnd.iFirst(); iPgn <= arPArPPtVtxPgnGnd.iLast(); iPgn++) {
        A1Val<void*>& arPPt = *static_cast<A1Val<void*>*>(arPArPPtVtxPgnGnd[iPgn]);
        if (arPPt.n() < 2) continue;
        for (Long i = arPPt.iFirst(); i <= arPPt.iFirst() + 1; i++) {
            Pt3c const& pt = *static_cast<Pt3c*>(arPPt[i]);
            if (!vecX.empty() && vecX.back() == pt.fX && vecZ.back() == pt.fZ) continue;
            vecX.push_back(pt.fX);
            vecZ.push_back(pt.fZ);
        }
    }
    return py::make_tuple(arrayOf(vecX), arrayOf(vecZ));
}

// The hop design: the options written out as a hop file and read as one,
// so they are checked as the `d` command checks "hop.txt".
py::list design(double fXTarget, py::kwargs options) {
    std::string szText = "target_x " + szNumber(fXTarget) + "\n";
    for (auto item : options) {
        szText += std::string(py::str(item.first)) + " ";
        szText += py::isinstance<py::int_>(item.second) ? std::string(py::str(item.second))
                                                        : szNumber(item.second.cast<double>());
        szText += "\n";
    }
    HopSpec hopspec;
    std::string szErr;
    if (!bHopSpecFmText(scenario(), "(options)", szText, &hopspec, &szErr)) throw VtError(szErr);
    DesignResult result;
    guarded([&] {
        py::gil_scoped_release release;
        result = designHop(scenario(), hopspec);
    });
    if (!result.bOk) throw VtError(result.szError);
    py::list lst;
    for (std::size_t i = 0; i + 2 < result.vecFParam.size(); i += 3)
        lst.append(py::make_tuple(result.vecFParam[i], result.vecFParam[i + 1],
                                  result.vecFParam[i + 2]));
    return lst;
}

}  // namespace

PYBIND11_MODULE(vantorell, m) {
    m.doc() =
        "Design, plan, fly and disperse hops of the Vantorell rocket-thruster vehicle.\n\n"
        "Units are SI throughout (m, s, kg, N, N*m), angles in radians.\n"
        "Errors raise vantorell.Error with the program's own message.";
    m.attr("__version__") = VT_VERSION;

    py::register_exception<VtError>(m, "Error", PyExc_RuntimeError);
    setStopReportQuiet(true);
    scenario();

    py::class_<Plan, std::shared_ptr<Plan>>(m, "Plan",
                                            "A planned hop: the sampled path, what the vehicle "
                                            "must do to fly it, the SUMMARY and the checks.")
        .def_property_readonly("t", [](Plan const& p) { return arrayOf(p.vecT); },
                               "Sample times, s.")
        .def_property_readonly("x", [](Plan const& p) { return arrayOf(p.vecX); },
                               "Horizontal position, m.")
        .def_property_readonly("z", [](Plan const& p) { return arrayOf(p.vecZ); }, "Height, m.")
        .def_property_readonly("pitch", [](Plan const& p) { return arrayOf(p.vecPitch); },
                               "Pitch, rad.")
        .def_property_readonly("thrust", [](Plan const& p) { return arrayOf(p.vecThrust); },
                               "Thrust magnitude, N (the column of fltplan.txt).")
        .def_property_readonly("moment", [](Plan const& p) { return arrayOf(p.vecMoment); },
                               "Pitch moment, N*m.")
        .def_property_readonly("mass", [](Plan const& p) { return arrayOf(p.vecMs); },
                               "Mass, kg.")
        .def_property_readonly("thruster_min",
                               [](Plan const& p) { return arrayOf(p.vecThrusterMin); },
                               "Smallest of the three thruster forces at each sample, N.")
        .def_property_readonly("thruster_max",
                               [](Plan const& p) { return arrayOf(p.vecThrusterMax); },
                               "Largest of the three thruster forces at each sample, N.")
        .def_property_readonly(
            "waypoints",
            [](Plan const& p) {
                py::list lst;
                for (std::size_t i = 0; i + 2 < p.vecWaypoint.size(); i += 3)
                    lst.append(py::make_tuple(p.vecWaypoint[i], p.vecWaypoint[i + 1],
                                              p.vecWaypoint[i + 2]));
                return lst;
            },
            "The waypoints (t, x, z) the plan was fitted through.")
        .def_property_readonly("summary", &Plan::summary,
                               "The SUMMARY's figures (m, kg, N, %) and its text.")
        .def_property_readonly("checks", &Plan::checks,
                               "The limits the plan breaks, one dict per stretch of samples, "
                               "with the warning text.")
        .def_property_readonly("fltplan", [](Plan const& p) { return p.szFltplan; },
                               "The text of the flight plan fltplan.txt.")
        .def(
            "write_fltplan",
            [](Plan const& p, py::object path) {
                const std::string szFile = szPathOf(path);
                if (!bWriteBytes(szFile, p.szFltplan)) throw VtError("can't write " + szFile);
            },
            py::arg("path"), "Writes the flight plan as the program's fltplan.txt.")
        .def("__repr__", [](Plan const& p) {
            char sz[160];
            std::snprintf(sz, sizeof sz,
                          "<vantorell.Plan: %zu waypoints, %zu samples, range %.4f m>",
                          p.vecWaypoint.size() / 3, p.vecT.size(), p.fHorzRange);
            return std::string(sz);
        });

    auto clsRun = py::class_<Run, std::shared_ptr<Run>>(
        m, "Run", "A flight: one state record every 0.05 s and the report of how it ended.");
    const char* const aszRunDoc[] = {
        "Record times, s.",           "Horizontal position, m.",
        "Height, m.",                 "Horizontal velocity, m/s.",
        "Vertical velocity, m/s.",    "Pitch, rad.",
        "Pitch rate, rad/s.",         "Mass, kg.",
        "Commanded thrust, N.",       "Thrust after the actuator limits, N.",
        "Commanded pitch moment, N*m.", "Pitch moment after the actuator limits, N*m."};
    for (std::size_t i = 0; i < std::size(aszRunArray); i++) {
        const std::string szKey = aszRunArray[i];
        clsRun.def_property_readonly(
            aszRunArray[i],
            [szKey](Run const& r) { return py::object(r.dictArrays[szKey.c_str()]); },
            aszRunDoc[i]);
    }
    clsRun
        .def_property_readonly("outcome", &Run::outcome,
                               "How the flight ended: stop reason ('rest', 'time limit', "
                               "'step too small'), steps, touchdown, propellant left, rest point.")
        .def(
            "write_results",
            [](Run const& r, py::object path) { r.writeResults(szPathOf(path)); },
            py::arg("path"), "Writes the run as the program's results.txt.")
        .def("__repr__", [](Run const& r) {
            char sz[160];
            std::snprintf(sz, sizeof sz, "<vantorell.Run: %zu records, stop '%s'>",
                          r.vecT.size(), szSimStop(r.report.stop));
            return std::string(sz);
        });

    m.def("plan", &planFm, py::arg("path_or_waypoints"),
          "plan(path_or_waypoints) -> Plan\n\n"
          "Fits and analyses a hop: the path of a waypoint file (traj1r.txt) or a\n"
          "sequence of (t, x, z) tuples. Raises Error(\"couldn't solve\") when the\n"
          "fit fails.");
    m.def("fly", &fly, py::arg("plan"), py::arg("guided") = false,
          py::arg("perturb") = py::none(), py::arg("guidance") = py::none(),
          "fly(plan, guided=False, perturb=None, guidance=None) -> Run\n\n"
          "Flies a Plan or a flight plan file for up to 30 s: open loop as the\n"
          "simulate command does, or with guided=True under the feedback law of the\n"
          "guided simulate command. guidance: the law's settings, a guidance.txt\n"
          "path or a dict of its names (control_rate, attitude_bandwidth, ...);\n"
          "the defaults without it. perturb: a dict of deviations by the\n"
          "dispersion file's names (thrust_scale, moment_bias, exhaust_speed,\n"
          "initial_mass, drag_scale, initial_pitch, initial_pitch_rate,\n"
          "initial_vx, command_delay). Releases the interpreter lock while flying.");
    m.def("dispersion", &dispersion, py::arg("plan"), py::arg("deviations"),
          py::arg("runs") = py::none(), py::arg("rng_seed") = py::none(), py::arg("threads") = 0,
          py::arg("guided") = false, py::arg("target") = py::none(),
          py::arg("guidance") = py::none(),
          "dispersion(plan, deviations, runs=None, rng_seed=None, threads=0,\n"
          "           guided=False, target=None, guidance=None) -> dict\n\n"
          "Flies a landing-dispersion campaign as vantorell-mc does, with the same\n"
          "numbers. deviations: a dispersion file path, or a dict of name ->\n"
          "deviation or (deviation, lower, upper) (and optionally 'runs',\n"
          "'rng_seed'). runs and rng_seed override the dispersion's. threads=0 uses\n"
          "every core. target=(x, z)\n"
          "measures misses from there instead of the undispersed flight's rest point.\n"
          "guided=True flies every run guided (as vantorell-mc --guided; guidance as\n"
          "for fly), with the sensor noises of the dispersion.\n"
          "Returns the columns of mc_runs.csv as arrays (touchdown columns NaN\n"
          "without a touchdown) and 'summary': the figures and the text of\n"
          "mc_summary.txt. Releases the interpreter lock while flying.");
    m.def("design", &design, py::arg("target_x"),
          "design(target_x, **options) -> list of (t, x, z)\n\n"
          "Designs the hop from the vehicle's start to the ground under target_x (m)\n"
          "that burns the least propellant within the limits, as the design command\n"
          "does with hop.txt, and returns its waypoints (plan() takes them). Options,\n"
          "the hop file's names: time (s; free when absent), thruster_margin (0.15),\n"
          "propellant_reserve (0.10), clearance (m, 0.5), waypoints (interior, 10).\n"
          "Releases the interpreter lock while designing.");
    m.def("terrain", &terrain,
          "terrain() -> (x, z)\n\n"
          "The ground's profile in the flight plane as arrays of points, m.");
    m.def("set_log", &setLog, py::arg("path") = py::none(),
          "set_log(path=None)\n\n"
          "Writes the run log (what the program writes to fe.log) to path from now\n"
          "on; None closes it. Without it no log is written. A fatal error closes\n"
          "the log after writing its record.");
}
