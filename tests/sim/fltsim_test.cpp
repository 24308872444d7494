// Vehicle dynamics, the simulation driver, the command schedule reader and
// the look-up in a stored run.
#include "sim/fltsim.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "sim/flight.h"
#include "sim/ground.h"
#include "support/testutil.h"

#include "support/scenario.h"

namespace {
StoredRun run;
A1Val<double>& arFTiData = run.arFTiData;
A1Val<void*>& arPStvehicle = run.arPStvehicle;

const double fRdn20 = 20.0 * M_PI / 180.0;

struct Row { double fTi, fFc, fMm; };

// A command schedule in memory (1..n).
struct Schedule {
    A1Val<double> arFTi{0}, arFFc{0}, arFMm{0};
    Schedule() = default;
    Schedule(std::initializer_list<Row> rows) {
        const Long n = static_cast<Long>(rows.size());
        for (auto* par : {&arFTi, &arFFc, &arFMm}) par->reconstructIFirstILast(1, n);
        Long i = 1;
        for (Row const& row : rows) arFTi[i] = row.fTi, arFFc[i] = row.fFc, arFMm[i++] = row.fMm;
    }
    void readFile(const std::string& szPath) {
        std::FILE* pfile = std::fopen(szPath.c_str(), "r");
        ASSERT_NE(pfile, nullptr) << szPath;
        readCmdsFromPFILE(&arFTi, &arFFc, &arFMm, pfile, szPath.c_str());
        std::fclose(pfile);
    }
};

// A stored run that frees its records.
struct StoredFlight {
    A1Val<double> arFTi{0};
    A1Val<void*> arPSt{0};
    ~StoredFlight() { deleteStoredRun(&arFTi, &arPSt); }
    Long n() const { return arFTi.n(); }
    Stvehicle3dof const& st(Long i) const { return *static_cast<Stvehicle3dof*>(arPSt[i]); }
    double fTi(Long i) const { return arFTi[i]; }
};

// State vector (x, z, pitch, vx, vz, pitch rate, mass).
A1Val<double> arFState(double x, double z, double fPitch, double vx, double vz, double fPitchDot,
                       double fMs) {
    A1Val<double> ar(1, 7);
    const double af[7] = {x, z, fPitch, vx, vz, fPitchDot, fMs};
    for (Long i = 1; i <= 7; i++) ar[i] = af[i - 1];
    return ar;
}

// sim() into a stored flight with 0.05 s records and tolerances of 0.001.
void simRun(StoredFlight* prun, ArFFnFArFModel* pmodel, double fTiIC, A1Val<double> arFStateIC,
            double fTiMax, double fDTiStepMin = 1e-6, Long iNStepMax = 20000) {
    sim(&prun->arFTi, &prun->arPSt, pmodel, fTiIC, arFStateIC, fTiMax, 0.05, fDTiStepMin,
        iNStepMax, 0.001, 0.001, 0.001, 0.001, 0.001);
}

class Sim : public ::testing::Test {
protected:
    void SetUp() override {
        initParams(&scenario);
        vehicleNoDrag = vehicle;
        vehicleNoDrag.fCdAX = 0.0;
        vehicleNoDrag.fCdAZ = 0.0;
    }
    Vehicle vehicleNoDrag;
};

using SimInTempDir = InScenarioFlying;

TEST_F(Sim, ActuatorLimitsThrustMomentCapLeverArmAndEmptyMass) {
    Vehicle vehicleLowCap = vehicle;
    vehicleLowCap.fMmPitchMax = 100.0;
    const struct { Vehicle* pv; double fFcCmd, fMmCmd, fMs, fFc, fMm; } acase[] = {
        {&vehicle, 2000.0, 0.0, 100.0, 1480.0, 0.0},     // the thrust limit
        {&vehicle, -50.0, 0.0, 100.0, 0.0, 0.0},         // no negative thrust
        {&vehicle, 1000.0, 1000.0, 100.0, 1000.0, 400.0},  // lever arm 0.4 m limits
        {&vehicleLowCap, 1000.0, 300.0, 100.0, 1000.0, 100.0},  // the cap limits
        {&vehicle, 250.0, -60.0, 100.0, 250.0, -60.0},
        {&vehicle, 0.0, 300.0, 100.0, 0.0, 0.0},  // no thrust, no moment
        {&vehicle, 600.0, 50.0, 95.0, 0.0, 0.0},  // nothing at or below the empty mass
        {&vehicle, 600.0, 50.0, std::nextafter(95.0, 96.0), 600.0, 50.0}};
    for (const auto& c : acase) {
        double fFc = -1.0, fMm = -1.0;
        c.pv->fFcThrustMmPitchActFmCmd(&fFc, &fMm, c.fFcCmd, c.fMmCmd, c.fMs);
        EXPECT_EQ(fFc, c.fFc) << c.fFcCmd << " " << c.fMmCmd << " " << c.fMs;
        EXPECT_EQ(fMm, c.fMm) << c.fFcCmd << " " << c.fMmCmd << " " << c.fMs;
    }
}

TEST_F(Sim, EqualNeighbouringTimesAtTheIntervalAreAnAssertion) {
    Schedule sch{{0.0, 600.0, 0.0}, {5.0, 600.0, 0.0}, {5.0, 0.0, 0.0}};
    ArFFnFArFModel model(&planet, &vehicle, &scenario.arPArPPtVtxPgnGnd, 0.05, sch.arFTi, sch.arFFc, sch.arFMm);
    double fFc, fMm;
    model.cmdAtFTi(&fFc, &fMm, 2.5);  // fine away from the pair
    EXPECT_EQ(fFc, 600.0);
    EXPECT_DEATH(model.cmdAtFTi(&fFc, &fMm, 5.0), "Assertion failed: fH != 0.0");
    // So too once the engine is off and the commands go unused.
    model.bEngineOff = true;
    const double afS[7] = {0, 0.5, 0, 0, 0, 0, 99};
    double afD[7];
    model.derivAt(afD, 2.5, afS);
    EXPECT_DEATH(model.derivAt(afD, 5.0, afS), "Assertion failed: fH != 0.0");
    // A table of one row brackets its own time with itself.
    Schedule schOne{{1.0, 600.0, 0.0}};
    ArFFnFArFModel modelOne(&planet, &vehicle, &scenario.arPArPPtVtxPgnGnd, 0.05, schOne.arFTi, schOne.arFFc, schOne.arFMm);
    modelOne.bEngineOff = true;
    modelOne.derivAt(afD, 0.5, afS);
    EXPECT_DEATH(modelOne.derivAt(afD, 1.0, afS), "Assertion failed: fH != 0.0");
}

// What a run keeps for speed is dropped after it. A vehicle changed after a run flies the next as a
// fresh model does: nothing kept for the old one is read (the mass flow at 600 N or, with no thrust,
// the inertia at the unchanged mass that the ground's torque acts on). A schedule replaced after a
// run is read afresh, not through the run's check.
TEST_F(Sim, WhatARunKeepsIsDroppedAfterIt) {
    for (const double fFc : {600.0, 0.0}) {
        Schedule sch{{0.0, fFc, 10.0}, {10.0, fFc, 10.0}};
        Vehicle v = vehicle;
        StoredFlight flights[3];
        ArFFnFArFModel models[2] = {{&planet, &v, &scenario.arPArPPtVtxPgnGnd, 0.05, sch.arFTi, sch.arFFc, sch.arFMm},
                                    {&planet, &v, &scenario.arPArPPtVtxPgnGnd, 0.05, sch.arFTi, sch.arFFc, sch.arFMm}};
        for (int i = 0; i < 3; i++) {
            if (i == 1) v.fIsp *= 2.0, v.fIPitchGTO *= 3.0, v.fIPitchEmpty *= 3.0;
            simRun(&flights[i], &models[i / 2], 0.0, arFState(0, 2.0 - fFc / 300.0, 0.3, 0, 0, 0, 100.0), 1.5);
        }
        ASSERT_EQ(flights[1].n(), flights[2].n());
        for (Long i = 1; i <= flights[1].n(); i++)
            EXPECT_EQ(std::memcmp(&flights[1].st(i), &flights[2].st(i), sizeof(Stvehicle3dof)), 0) << fFc << " " << i;
        sch = Schedule{{0.0, 100.0, 0.0}, {0.25, 100.0, 0.0}, {0.75, 200.0, 4.0}, {10.0, 300.0, 0.0}};
        double fFcNow, fMm;
        models[0].bEngineOff = false;  // landed in the drop
        models[0].cmdAtFTi(&fFcNow, &fMm, 0.5);
        EXPECT_EQ(std::make_pair(fFcNow, fMm), std::make_pair(150.0, 2.0));
    }
}

// Evaluates the model once.
A1Val<double> arFDerivAt(ArFFnFArFModel* pmodel, double fTi, A1Val<double> const& arFSt) {
    A1Val<double> arFDeriv(1, 7);
    pmodel->arFAtFArF(&arFDeriv, fTi, arFSt);
    return arFDeriv;
}

class SimContact : public Sim {
protected:
    void SetUp() override {
        Sim::SetUp();
        pmodel = new ArFFnFArFModel(&planet, &vehicleNoDrag, &scenario.arPArPPtVtxPgnGnd, 0.05, sch.arFTi, sch.arFFc, sch.arFMm);
        arFDerivAt(pmodel, 0.0, arFState(0, 2.0, 0, 0, 0, 0, 100));  // clears the pad
        pmodel->fPitchGndAtLandingSite = 99.0;
    }
    void TearDown() override { delete pmodel; }
    Schedule sch{{0.0, 0.0, 0.0}, {10.0, 0.0, 0.0}};
    ArFFnFArFModel* pmodel = nullptr;
};

TEST_F(SimContact, LevelGroundForcesAndTorquesAsTheContactLawSays) {
    // 1 cm deep in the level pad: the spring gives k h = 100 N up, the
    // damper -500 v; friction 0.6 * 100 N against vx when |vx| >= 0.025 m/s
    // and the attitude error is at most 50 deg; below 50 deg the restoring
    // torque -400 e and the damping -100 rate, from 50 deg on -10 rate.
    const double fI = vehicle.fIPitchAtFMs(100.0);
    const double d = M_PI / 180.0;
    const struct { double fPitch, vx, vz, fRate, fFx, fFz, fMm; } acase[] = {
        {0.0, 0.0, -0.2, 0.0, 0.0, 100.0 + 100.0, 0.0},
        {0.0, 0.01, 0.0, 0.0, -5.0, 100.0, 0.0},  // too slow to slide: the damper only
        {0.0, 0.025, 0.0, 0.0, -60.0 - 12.5, 100.0, 0.0},  // sliding from 0.025 m/s on
        {0.0, 0.1, 0.0, 0.0, -60.0 - 50.0, 100.0, 0.0},
        {0.0, -0.1, 0.0, 0.0, 60.0 + 50.0, 100.0, 0.0},
        {10 * d, 0.5, 0.0, 0.5, -60.0 - 250.0, 100.0, -400.0 * 10 * d - 100.0 * 0.5},
        {49 * d, 0.1, 0.0, 1.0, -60.0 - 50.0, 100.0, -400.0 * 49 * d - 100.0},
        {50 * d, 0.1, 0.0, 1.0, -60.0 - 50.0, 100.0, -10.0},  // friction yes, torque no
        {51 * d, 0.1, 0.0, 1.0, -50.0, 100.0, -10.0},
        {60 * d, 0.5, 0.0, 1.0, -250.0, 100.0, -10.0},
        {2 * M_PI + 10 * d, 0.0, 0.0, 0.0, 0.0, 100.0, -400.0 * 10 * d}};  // modulo a turn
    for (const auto& c : acase) {
        const A1Val<double> arFD =
            arFDerivAt(pmodel, 1.0, arFState(-5.0, -0.01, c.fPitch, c.vx, c.vz, c.fRate, 100));
        EXPECT_NEAR(arFD[4] * 100.0, c.fFx, 1e-9) << c.fPitch << " " << c.vx;
        EXPECT_NEAR(arFD[5] * 100.0 + 370.0, c.fFz, 1e-9) << c.fPitch << " " << c.vx;
        EXPECT_NEAR(arFD[6] * fI, c.fMm, 1e-6) << c.fPitch << " " << c.vx;
    }
    EXPECT_TRUE(pmodel->bLanded);
    EXPECT_TRUE(pmodel->bEngineOff);
    EXPECT_EQ(pmodel->fPitchGndAtLandingSite, 0.0);
}

TEST_F(SimContact, RestoringTorqueOnlyWhereTheGroundIsAtLeastAsSteepAsTheLandingSite) {
    // |pitch at landing site| - |ground pitch| < 0.001 rad: landed on the
    // 20-degree slope, level ground gets the damping alone and the slope the
    // torque; landed on level ground, the slope gets the torque.
    const double fI = vehicle.fIPitchAtFMs(100.0);
    const double zGnd = -(5.0 - 1.0) * std::tan(fRdn20);
    const A1Val<double> arFSlope = arFState(5.0, zGnd - 0.01, -fRdn20 + 0.1, 0, 0, 0.5, 100);
    arFDerivAt(pmodel, 1.0, arFState(5.0, zGnd - 0.01, -fRdn20, 0, 0, 0, 100));
    ASSERT_NEAR(pmodel->fPitchGndAtLandingSite, -fRdn20, 1e-12);
    EXPECT_NEAR(arFDerivAt(pmodel, 1.0, arFState(-5.0, -0.01, 0.1, 0, 0, 0.5, 100))[6] * fI,
                -100.0 * 0.5, 1e-9);
    EXPECT_NEAR(pmodel->fPitchGndAtLandingSite, -fRdn20, 1e-12);  // kept after the first contact
    EXPECT_NEAR(arFDerivAt(pmodel, 1.0, arFSlope)[6] * fI, -400.0 * 0.1 - 100.0 * 0.5, 1e-9);
    pmodel->fPitchGndAtLandingSite = 0.0;
    EXPECT_NEAR(arFDerivAt(pmodel, 1.0, arFSlope)[6] * fI, -400.0 * 0.1 - 100.0 * 0.5, 1e-9);
}

TEST_F(Sim, FlagsAreSetByTrialEvaluationsTheStepperDiscards) {
    // Rising at 0.1 m/s from 0.998 m with no thrust: the true apex is
    // 0.998 + 0.1^2 / (2 * 3.7) = 0.99935 m, never above 1 m. The stepper's
    // first stage probes z + h/2 * vz = 1.0005 m, and that arms the contact.
    Schedule sch{{0.0, 0.0, 0.0}, {30.0, 0.0, 0.0}};
    ArFFnFArFModel model(&planet, &vehicleNoDrag, &scenario.arPArPPtVtxPgnGnd, 0.05, sch.arFTi, sch.arFFc, sch.arFMm);
    A1Val<double> arFSt = arFState(0, 0.998, 0, 0, 0.1, 0, 100);
    arFDerivAt(&model, 0.0, arFState(0, 1.0, 0, 0, 0, 0, 100));  // higher than 1 m, not at it
    A1Val<double> arFD = arFDerivAt(&model, 0.0, arFSt);
    EXPECT_FALSE(model.bClearedGnd);
    A1Val<double> arFScale = arFState(1e-3, 1e-3, 1e-3, 1e-3, 1e-3, 1e-3, 1e-3);
    double fTiNext, fHUsed, fHNext;
    rk5StepQC(&arFSt, &fTiNext, &fHUsed, &fHNext, 0.0, &arFSt, &arFD, 7, 0.05, 1.0, &arFScale,
              &model);
    EXPECT_LT(arFSt[2], 1.0);
    EXPECT_TRUE(model.bClearedGnd);
}

TEST_F(Sim, AtRestStopsTheRunEvenInTheAir) {
    // Hovering 5 m up: thrust equal to the weight. After the first step the
    // rates are far below 0.001, so the run ends there, in mid-air.
    Schedule sch{{0.0, 370.0, 0.0}, {30.0, 370.0, 0.0}};
    ArFFnFArFModel model(&planet, &vehicle, &scenario.arPArPPtVtxPgnGnd, 0.05, sch.arFTi, sch.arFFc, sch.arFMm);
    StoredFlight run;
    simRun(&run, &model, 0.0, arFState(0, 5.0, 0, 0, 0, 0, 100), 30.0);
    ASSERT_EQ(run.n(), 2);
    EXPECT_DOUBLE_EQ(run.fTi(2), 0.05);
    EXPECT_NEAR(run.st(2).fZf, 5.0, 1e-4);
    EXPECT_FALSE(model.bLanded);
    EXPECT_DOUBLE_EQ(arFDerivAt(&model, 0.0, arFState(0, 5.0, 0, 0, 0, 0, 100))[7], -370.0 / vehicle.fIsp);
}

TEST_F(Sim, DriverStopsPrintTheirMessages) {
    Schedule sch{{0.0, 600.0, 0.0}, {30.0, 600.0, 0.0}};
    ArFFnFArFModel model(&planet, &vehicle, &scenario.arPArPPtVtxPgnGnd, 0.05, sch.arFTi, sch.arFFc, sch.arFMm);
    StoredFlight run;
    const A1Val<double> arFSt0 = arFState(0, 0, 0, 0, 0, 0, 100);
    // A span that is not positive, and too many steps: printed to standard
    // output, then asserted.
    EXPECT_DEATH((dup2(2, 1), simRun(&run, &model, 1.0, arFSt0, 0.0)),
                 "fTiMax =     0\\.000000e\\+00, fTiIC =     1\\.000000e\\+00, fDTi =    "
                 "-5\\.000000e-02\nAssertion failed: fDTi > 0\\.0");
    EXPECT_DEATH((dup2(2, 1), simRun(&run, &model, 0.0, arFSt0, 30.0, 1e-6, 3)),
                 "^Too many stepsAssertion failed: bStopped");
    // Exactly as many steps as allowed is not too many: three of 0.05 s.
    StoredFlight runThree;
    simRun(&runThree, &model, 0.0, arFSt0, 0.15, 1e-6, 3);
    EXPECT_EQ(runThree.n(), 4);
    // With a smallest useful step of 0.2 s, the proposed next step (at most
    // four times 0.05 s) is already too small after the first step: the run
    // ends softly, before a full output interval.
    testing::internal::CaptureStdout();
    simRun(&run, &model, 0.0, arFSt0, 30.0, 0.2);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Step size too small\n");
    ASSERT_EQ(run.n(), 1);
    EXPECT_EQ(run.st(1).fMs, 100.0);
}

// Reads szText as plan.txt: the rows as (time, thrust, moment).
std::vector<std::array<double, 3>> vrowRead(const std::string& szText) {
    vttest::writeFile("plan.txt", szText);
    Schedule sch;
    sch.readFile("plan.txt");
    EXPECT_EQ(sch.arFTi.iFirst(), 1);
    std::vector<std::array<double, 3>> vrow;
    for (Long i = 1; i <= sch.arFTi.iLast(); i++)
        vrow.push_back({sch.arFTi[i], sch.arFFc[i], sch.arFMm[i]});
    return vrow;
}

TEST_F(SimInTempDir, ReaderRowsSkipsShortLinesAndEarlyEnds) {
    using Rows = std::vector<std::array<double, 3>>;
    std::string szLong = "    1.0   100.0     5.0";
    szLong += std::string(1100 - szLong.size(), ' ');
    const struct { std::string szText; Rows vrow; } acase[] = {
        // "5 7": lines 2-4 skipped unread, 5-7 read, the rest ignored.
        {"5 7\nA\nB\nC\n0 600 0\n1.5 650 10\n2 0 -20\n9 9 9\n",
         {{0, 600, 0}, {1.5, 650, 10}, {2, 0, -20}}},
        // Nothing is skipped when the first data line is at most 2.
        {"1 4\n0 1 2\n1 2 3\n2 3 4\n3 4 5\n9 9 9\n", {{0, 1, 2}, {1, 2, 3}, {2, 3, 4}, {3, 4, 5}}},
        // A short line keeps the previous row's values.
        {"2 4\n0 600 12\n1\n2 300\n", {{0, 600, 12}, {1, 600, 12}, {2, 300, 12}}},
        // Past the end of the file the last line read is scanned again.
        {"2 4\n0 500 1\n1 500 2\n", {{0, 500, 1}, {1, 500, 2}, {1, 500, 2}}},
        {"2000000000 2000000000\n", {{2e9, 2e9, 0}}},
        // A line longer than the buffer: the rest of it is read as the next line.
        {"3 4\nh\n" + szLong + "\n2.0 200.0 6.0\n", {{1, 100, 5}, {1, 100, 5}}}};
    for (const auto& c : acase) EXPECT_EQ(vrowRead(c.szText), c.vrow) << c.szText;
}

// The rows against sscanf's "%lf %lf %lf" on the same lines, bit for bit (a
// short row keeps the values before it): plain decimals of every length, both
// signs, ties between doubles, all six spaces, and the forms left to sscanf
// itself (exponents, hex, runs, short rows).
TEST_F(SimInTempDir, ReaderRowsAreWhatSscanfReads) {
    std::vector<std::string> vszRow = {
        "1e5 2 3", "0x1p3 2 3", "1-2 3 4", ".5 1 2", "1. 2. 3.", "-0 -0.0 +0", "1e 2 3",
        "1 2", "", "1,5 2 3", "9007199254740993 9007199254740995 +4503599627370497.5",
        "0." + std::string(400, '0') + "1 5 6", "1 2 3 4", "7\v8\f9\r", "\t1\t2\t3z"};
    std::srand(7);
    for (int i = 0; i < 9000; i++) {  // three fields a row
        if (i % 3 == 0) vszRow.emplace_back();
        vszRow.back() += std::string(" \t\v\f\r  ").substr(std::rand() % 6, 1 + std::rand() % 2) +
                         std::string("-+").substr(0, std::rand() % 3);
        for (int n = 1 + std::rand() % 20; n > 0; n--) vszRow.back() += char('0' + std::rand() % 10);
        const std::string szTail = std::to_string(std::rand());
        vszRow.back() += std::string(".").substr(0, std::rand() % 4) + szTail.substr(std::rand() % (szTail.size() + 1));
    }
    std::string szFile = "2 " + std::to_string(vszRow.size() + 1) + "\n";
    std::vector<std::array<double, 3>> vrow;
    std::array<double, 3> af{};
    for (auto const& sz : vszRow) {
        szFile += sz + "\n";
        std::sscanf(sz.c_str(), "%lf %lf %lf", &af[0], &af[1], &af[2]);
        vrow.push_back(af);
    }
    const auto vrowGot = vrowRead(szFile);
    ASSERT_EQ(vrowGot, vrow);
    EXPECT_EQ(std::memcmp(vrowGot.data(), vrow.data(), vrow.size() * sizeof vrow[0]), 0);  // zeroes' signs
}

// Reads plan.txt in a child and expects a fatal error with the given text.
void expectReaderFatal(const std::string& szText, const char* szMessage) {
    vttest::writeFile("plan.txt", szText);
    EXPECT_EXIT(
        {
            Schedule sch;
            sch.readFile("plan.txt");
        },
        ::testing::ExitedWithCode(1), szMessage)
        << szText;
}

TEST_F(SimInTempDir, ReaderRejectsBadHeadersAndNumbersThatAreNotFinite) {
    const char* szHeader = "plan\\.txt: first line must give the first and last data line numbers";
    const struct { const char* szText; std::string szMsg; } acase[] = {
        {"", szHeader}, {"abc\n0 1 2\n", szHeader}, {"3\n", szHeader}, {"\n   3    4\n", szHeader},
        {"   3    2\nx\n", "plan\\.txt: data lines 3 to 2 give no rows or more than 1000000"},
        {"   3 2000000000\nx\n0 1 2\n",
         "plan\\.txt: data lines 3 to 2000000000 give no rows or more than 1000000"},
        {"3 5\nh\n0 1 2\n1 nan 2\n2 0 0\n", "plan\\.txt, line 4: a number is not finite"}};
    for (const auto& c : acase) expectReaderFatal(c.szText, c.szMsg.c_str());
}

// Records at 0, 1 and fTi3 as the stored run, their fields distinct numbers.
void storeRun(double fTi3) {
    deleteStoredRun(&arFTiData, &arPStvehicle);
    arFTiData.reconstructIFirstILast(1, 3);
    arPStvehicle.reconstructIFirstILast(1, 3);
    for (Long i = 1; i <= 3; i++) {
        const double f = 10.0 * i;
        arFTiData[i] = i == 1 ? 0.0 : i == 2 ? 1.0 : fTi3;
        arPStvehicle[i] = new Stvehicle3dof(f + 1, f + 2, f + 3, f + 4, f + 5, f + 6, 96.0 + i,
                                            50.0 + i, f + 9, f + 10, f + 11, f + 12);
    }
}

std::array<double, 12> afFields(Stvehicle3dof const& st) {
    return {st.fXf,     st.fZf,       st.fVeXf, st.fVeZf,        st.fPitch,       st.fPitchDot,
            st.fMs,     st.fIPitch,   st.fFcThrustCmd, st.fFcThrustAct, st.fMmPitchCmd,
            st.fMmPitchAct};
}

TEST_F(Sim, StoredRunBeforeAtBetweenAndAfterTheRecords) {
    storeRun(3.0);
    auto stored = [](Long i) { return *static_cast<Stvehicle3dof*>(arPStvehicle[i]); };
    Stvehicle3dof st;
    for (auto [fTi, i] : {std::pair{-5.0, 1}, {0.0, 1}, {3.5, 3}}) {
        stvehicle3dofAtFTi(&st, fTi, run, scenario.vehicle);
        EXPECT_EQ(std::memcmp(&st, arPStvehicle[i], sizeof st), 0) << fTi;
    }
    // At the last time exactly: weight 1 on the last record; between records
    // every field linear. The inertia is recomputed from the mass.
    stvehicle3dofAtFTi(&st, 3.0, run, scenario.vehicle);
    for (int k = 0; k < 12; k++) EXPECT_TRUE(k == 7 || afFields(st)[k] == afFields(stored(3))[k]) << k;
    EXPECT_DOUBLE_EQ(st.fIPitch, vehicle.fIPitchAtFMs(99.0));
    stvehicle3dofAtFTi(&st, 2.5, run, scenario.vehicle);  // three quarters from record 2 to record 3
    for (int k = 0; k < 12; k++) {
        if (k == 7) continue;
        EXPECT_DOUBLE_EQ(afFields(st)[k],
                         0.25 * afFields(stored(2))[k] + 0.75 * afFields(stored(3))[k])
            << k;
    }
    EXPECT_DOUBLE_EQ(st.fIPitch, vehicle.fIPitchAtFMs(98.75));
    storeRun(1.0);
    EXPECT_DEATH(stvehicle3dofAtFTi(&st, 1.0, run, scenario.vehicle), "Assertion failed: fH != 0.0");
    deleteStoredRun(&arFTiData, &arPStvehicle);
}

}  // namespace
