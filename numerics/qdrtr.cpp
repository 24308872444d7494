// Trapezoid and Simpson quadrature (see qdrtr.h).
#include "numerics/qdrtr.h"

#include <cmath>
#include <cstdio>

#include "core/logerror.h"

namespace {

// The stage limit is used up. QSimp shares the message, naming QTrap, so one
// text covers both.
[[noreturn]] void failTooManySteps() {
    std::fputs("Too many steps in routine QTrap::fValue\n", stderr);
    std::fflush(stderr);
    VT_ASSERT(0);
    __builtin_unreachable();
}

}  // namespace

QTrapzd::QTrapzd(FFnF* pfFnF, double fA, double fB)
    : _pfFnF(pfFnF), _fA(fA), _fB(fB), _iT(1), _fValue(0.0) {
    _fValue = 0.5 * (_fB - _fA) * (_pfFnF->fRAtFD(_fA) + _pfFnF->fRAtFD(_fB));
}

void QTrapzd::refine() {
    const double tnm = _iT;
    double sum = 0.0;
    // Once the counter has wrapped (_iT <= 0) there are no points to add; the
    // update then only halves the estimate, and there is no division by zero.
    if (_iT > 0) {
        const double del = (_fB - _fA) / tnm;
        double x = _fA + 0.5 * del;
        for (Long j = 1; j <= _iT; j++, x += del) sum += _pfFnF->fRAtFD(x);
        _fValue = 0.5 * (_fValue + (_fB - _fA) * sum / tnm);
    } else {
        _fValue = 0.5 * _fValue;
    }
    // 16-bit on purpose (see the header); the doubling wraps, well defined.
    _iT = static_cast<std::int16_t>(_iT * 2);
}

QTrap::QTrap(FFnF* pfFnF, double fA, double fB) : QTrap(pfFnF, fA, fB, 1.0e-5, 20) {}

QTrap::QTrap(FFnF* pfFnF, double fA, double fB, double fEps, std::int16_t nStepMax)
    : _qTrapzd(pfFnF, fA, fB), _fEps(fEps), _iNStepMax(nStepMax) {}

double QTrap::fValue() {
    double olds = _qTrapzd.fValue();
    for (Long j = 2; j <= _iNStepMax; j++) {
        _qTrapzd.refine();
        const double s = _qTrapzd.fValue();
        if (std::fabs(s - olds) < _fEps * std::fabs(olds)) return s;
        olds = s;
    }
    failTooManySteps();
}

QSimp::QSimp(FFnF* pfFnF, double fA, double fB, double fEps, std::int16_t nStepMax)
    : _qTrapzd(pfFnF, fA, fB), _fEps(fEps), _iNStepMax(nStepMax) {}

double QSimp::fValue() {
    double ost = _qTrapzd.fValue();
    _qTrapzd.refine();
    double st = _qTrapzd.fValue();
    double olds = (4.0 * st - ost) / 3.0;
    ost = st;
    for (Long j = 2; j <= _iNStepMax; j++) {
        _qTrapzd.refine();
        st = _qTrapzd.fValue();
        const double s = (4.0 * st - ost) / 3.0;
        if (std::fabs(s - olds) < _fEps * std::fabs(olds)) return s;
        olds = s;
        ost = st;
    }
    failTooManySteps();
}
