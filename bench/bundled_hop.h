// The bundled hop's flight plan for the benchmarks.
#pragma once

#include <string>

// The path of "fltplan.txt" planned from examples/traj1r.txt, once per
// process, in a scratch directory that goes at exit; empty when the hop
// cannot be planned.
std::string szFltplanBundledHop();

// The same for the hand-made hop across the valley,
// examples/handmade/traj1r.txt (the bundled hop before the designed one).
std::string szFltplanHandmadeHop();
