// Real functions of one real variable as objects (see ffnf.h).
#include "numerics/ffnf.h"

#include <cmath>
#include <cstdarg>

namespace {

// Fills D and R over 1..iN from the named first two pairs and the rest of an
// argument list; with iN below 2 only the first iN named pairs are used.
void setTableFmVa(Long iN, double fD1, double fR1, double fD2, double fR2, std::va_list& ap,
                  A1Val<double>* parFD, A1Val<double>* parFR) {
    for (Long i = 1; i <= iN; i++) {
        double fD, fR;
        if (i == 1) {
            fD = fD1;
            fR = fR1;
        } else if (i == 2) {
            fD = fD2;
            fR = fR2;
        } else {
            fD = va_arg(ap, double);
            fR = va_arg(ap, double);
        }
        (*parFD)[i] = fD;
        (*parFR)[i] = fR;
    }
}

void setTableFmPf(Long iN, const double* pfD, const double* pfR, A1Val<double>* parFD,
                  A1Val<double>* parFR) {
    for (Long i = 1; i <= iN; i++) {
        (*parFD)[i] = pfD[i - 1];
        (*parFR)[i] = pfR[i - 1];
    }
}

// The interval search shared by the tables: the bracketing pair klo, khi =
// klo + 1 by bisection. Arguments outside the table land in the first or last
// interval, which the callers then extrapolate. Returns the interval width.
double fHFmSearch(const A1Val<double>& arFD, double fD, Long* pklo, Long* pkhi) {
    Long klo = 1;
    Long khi = arFD.n();
    while (khi - klo > 1) {
        const Long k = (khi + klo) / 2;
        if (fD < arFD[k])
            khi = k;
        else
            klo = k;
    }
    const double fH = arFD[khi] - arFD[klo];
    VT_ASSERT(fH != 0.0);
    *pklo = klo;
    *pkhi = khi;
    return fH;
}

// The checks common to the linear tables: equal counts, at least two points,
// both indexed from 1, abscissas strictly increasing. Each failure has its own
// line so that the report tells which one it was.
void checkTable(const A1Val<double>& arFD, const A1Val<double>& arFR) {
    if (arFD.n() != arFR.n()) VT_ASSERT(0);
    if (arFD.n() < 2) VT_ASSERT(0);
    if (arFD.iFirst() != 1 || arFR.iFirst() != 1) VT_ASSERT(0);
    for (Long i = 1; i < arFD.n(); i++)
        if (!(arFD[i] < arFD[i + 1])) VT_ASSERT(0);
}

}  // namespace

// ---- FPolyF ------------------------------------------------------------------------

FPolyF::FPolyF(const A1Val<double>& arFCoeff) : _arFCoeff(arFCoeff) {
    VT_ASSERT(_arFCoeff.iFirst() >= 0 && _arFCoeff.n() > 0);
}

double FPolyF::fRAtFD(double fD) {
    double fR = _arFCoeff[_arFCoeff.iLast()];
    for (Long i = _arFCoeff.iLast() - 1; i >= _arFCoeff.iFirst(); i--) fR = fR * fD + _arFCoeff[i];
    for (Long i = 0; i < _arFCoeff.iFirst(); i++) fR *= fD;
    return fR;
}

// ---- F1PwF -------------------------------------------------------------------------

F1PwF::F1PwF(const A1Val<double>& arFD, const A1Val<double>& arFR) : _arFD(arFD), _arFR(arFR) {
    _checkDefn();
}

F1PwF::F1PwF(Long iN, const double* pfD, const double* pfR) : _arFD(0), _arFR(0) {
    VT_ASSERT(iN > 1);
    _arFD.reconstructIFirstILast(1, iN);
    _arFR.reconstructIFirstILast(1, iN);
    setTableFmPf(iN, pfD, pfR, &_arFD, &_arFR);
    _checkDefn();
}

F1PwF::F1PwF(Long iN, double fD1, double fR1, double fD2, double fR2, ...)
    : _arFD(1, iN), _arFR(1, iN) {
    std::va_list ap;
    va_start(ap, fR2);
    setTableFmVa(iN, fD1, fR1, fD2, fR2, ap, &_arFD, &_arFR);
    va_end(ap);
    _checkDefn();
}

void F1PwF::_checkDefn() { checkTable(_arFD, _arFR); }

double F1PwF::fRAtFD(double fD) {
    Long klo, khi;
    const double fH = fHFmSearch(_arFD, fD, &klo, &khi);
    const double a = (_arFD[khi] - fD) / fH;
    const double b = (fD - _arFD[klo]) / fH;
    return a * _arFR[klo] + b * _arFR[khi];
}

// ---- F3PwF -------------------------------------------------------------------------

F3PwF::F3PwF(const A1Val<double>& arFD, const A1Val<double>& arFR)
    : F3PwF(arFD, arFR, false, 0.0, false, 0.0) {}

F3PwF::F3PwF(const A1Val<double>& arFD, const A1Val<double>& arFR, bool bP1, double fP1,
             bool bPN, double fPN)
    : _arFD(arFD), _arFR(arFR), _bP1(bP1), _bPN(bPN), _fP1(fP1), _fPN(fPN), _arFPP(0) {
    _checkDefn();
    _setPP(_arFD, _arFR, _bP1, _fP1, _bPN, _fPN, &_arFPP);
}

F3PwF::F3PwF(Long iN, const double* pfD, const double* pfR)
    : _arFD(1, iN), _arFR(1, iN), _bP1(false), _bPN(false), _fP1(0.0), _fPN(0.0), _arFPP(0) {
    setTableFmPf(iN, pfD, pfR, &_arFD, &_arFR);
    _checkDefn();
    _setPP(_arFD, _arFR, _bP1, _fP1, _bPN, _fPN, &_arFPP);
}

F3PwF::F3PwF(Long iN, double fD1, double fR1, double fD2, double fR2, ...)
    : _arFD(1, iN), _arFR(1, iN), _bP1(false), _bPN(false), _fP1(0.0), _fPN(0.0), _arFPP(0) {
    std::va_list ap;
    va_start(ap, fR2);
    setTableFmVa(iN, fD1, fR1, fD2, fR2, ap, &_arFD, &_arFR);
    va_end(ap);
    _checkDefn();
    _setPP(_arFD, _arFR, _bP1, _fP1, _bPN, _fPN, &_arFPP);
}

// Counts and indexing here; the strict increase of the abscissas is checked
// by _setPP, which needs it.
void F3PwF::_checkDefn() {
    VT_ASSERT(_arFD.n() == _arFR.n());
    VT_ASSERT(_arFD.n() > 1);
    if (_arFD.iFirst() != 1 || _arFR.iFirst() != 1) VT_ASSERT(0);
}

void F3PwF::_setPP(const A1Val<double>& arFD, const A1Val<double>& arFR, bool bP1, double fP1,
                   bool bPN, double fPN, A1Val<double>* parFPP) {
    const Long n = arFD.n();
    for (Long iChk = 1; iChk < n; iChk++) VT_ASSERT(arFD[ iChk ] < arFD[ iChk+1 ]);
    A1Val<double>& PP = *parFPP;
    const A1Val<double>& D = arFD;
    const A1Val<double>& R = arFR;
    PP.reconstructIFirstILast(1, n);
    A1Val<double> u(1, n);

    if (!bP1) {
        PP[1] = 0.0;
        u[1] = 0.0;
    } else {
        PP[1] = -0.5;
        u[1] = (3.0 / (D[2] - D[1])) * ((R[2] - R[1]) / (D[2] - D[1]) - fP1);
    }
    for (Long i = 2; i <= n - 1; i++) {
        const double sig = (D[i] - D[i - 1]) / (D[i + 1] - D[i - 1]);
        const double p = sig * PP[i - 1] + 2.0;
        PP[i] = (sig - 1.0) / p;
        u[i] = (R[i + 1] - R[i]) / (D[i + 1] - D[i]) - (R[i] - R[i - 1]) / (D[i] - D[i - 1]);
        u[i] = (6.0 * u[i] / (D[i + 1] - D[i - 1]) - sig * u[i - 1]) / p;
    }
    double qn, un;
    if (!bPN) {
        qn = 0.0;
        un = 0.0;
    } else {
        qn = 0.5;
        un = (3.0 / (D[n] - D[n - 1])) * (fPN - (R[n] - R[n - 1]) / (D[n] - D[n - 1]));
    }
    PP[n] = (un - qn * u[n - 1]) / (qn * PP[n - 1] + 1.0);
    for (Long k = n - 1; k >= 1; k--) PP[k] = PP[k] * PP[k + 1] + u[k];
}

double F3PwF::fRAtFD(double fD) {
    Long klo, khi;
    const double fH = fHFmSearch(_arFD, fD, &klo, &khi);
    const double a = (_arFD[khi] - fD) / fH;
    const double b = (fD - _arFD[klo]) / fH;
    return a * _arFR[klo] + b * _arFR[khi] +
           ((a * a * a - a) * _arFPP[klo] + (b * b * b - b) * _arFPP[khi]) * (fH * fH) / 6.0;
}

// ---- F1PwLogLogF ---------------------------------------------------------------------

F1PwLogLogF::F1PwLogLogF(const A1Val<double>& arFD, const A1Val<double>& arFR)
    : _arFD(arFD), _arFR(arFR), _arFDLog(0), _arFRLog(0) {
    _checkDefn();
    _setLogs();
}

F1PwLogLogF::F1PwLogLogF(Long iN, const double* pfD, const double* pfR)
    : _arFD(1, iN), _arFR(1, iN), _arFDLog(0), _arFRLog(0) {
    setTableFmPf(iN, pfD, pfR, &_arFD, &_arFR);
    _checkDefn();
    _setLogs();
}

F1PwLogLogF::F1PwLogLogF(Long iN, double fD1, double fR1, double fD2, double fR2, ...)
    : _arFD(1, iN), _arFR(1, iN), _arFDLog(0), _arFRLog(0) {
    std::va_list ap;
    va_start(ap, fR2);
    setTableFmVa(iN, fD1, fR1, fD2, fR2, ap, &_arFD, &_arFR);
    va_end(ap);
    _checkDefn();
    _setLogs();
}

void F1PwLogLogF::_checkDefn() {
    checkTable(_arFD, _arFR);
    for (Long i = 1; i <= _arFD.n(); i++) {
        VT_ASSERT(_arFD[ i ] > 0.0);
        VT_ASSERT(_arFR[ i ] > 0.0);
    }
}

void F1PwLogLogF::_setLogs() {
    const Long n = _arFD.n();
    _arFDLog.reconstructIFirstILast(1, n);
    _arFRLog.reconstructIFirstILast(1, n);
    for (Long i = 1; i <= n; i++) {
        _arFDLog[i] = std::log(_arFD[i]);
        _arFRLog[i] = std::log(_arFR[i]);
    }
}

double F1PwLogLogF::fRAtFD(double fD) {
    VT_ASSERT(fD > 0.0);
    const double fDLog = std::log(fD);
    Long klo, khi;
    const double fH = fHFmSearch(_arFDLog, fDLog, &klo, &khi);
    return std::exp(_arFRLog[klo] +
                    (fDLog - _arFDLog[klo]) * (_arFRLog[khi] - _arFRLog[klo]) / fH);
}
