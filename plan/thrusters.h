// The split of the thrust and the pitch moment among the three thrusters.
#pragma once

#include "core/mxtypes.h"

// The three thruster forces of one sample, by the split of the SUMMARY: the
// thrust magnitude shared equally, the pitch moment over a lever of 0.8 m
// taken from thrusters 1 and 2 (half each) and added to thruster 3.
// afF[0..2] are thrusters 1..3; the arithmetic is that of the analysis, so
// the extremes over a plan are its "max/min thruster force" bit for bit.
void fFThrustersFm(double afF[3], const Vd<double>& vdfF, const Vd<double>& vdfM);
